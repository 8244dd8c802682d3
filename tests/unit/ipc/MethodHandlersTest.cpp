#include "PlainIpc.h"

#include "support/LogSpy.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <stdexcept>

using namespace plain;

namespace {

THandler Answering(int code, const std::string& text) {
    return THandler([=](const std::string&, const std::string&, std::string& result) {
        result = text;
        return code;
    });
}

int Call(TZeltoIpc& ipc, const std::string& method, std::string& result) {
    return ipc.OnMethodCall(method, "request", result);
}

int CodeOf(TZeltoIpc& ipc, const std::string& method) {
    std::string result;
    return Call(ipc, method, result);
}

} // namespace

TEST(OnMethodCall, GivesMinusOneAndLeavesTheResultWithoutAHandler) {
    TPlainIpc ipc;
    std::string result = "before";
    EXPECT_EQ(-1, Call(ipc, "UNKNOWN", result));
    EXPECT_EQ("before", result);
    EXPECT_TRUE(LogSpy::Messages().empty());
}

TEST(OnMethodCall, HandsMethodAndRequestOnAndGivesCodeAndResult) {
    TPlainIpc ipc;
    std::string seen;
    THandler handler([&](const std::string& method, const std::string& request, std::string& result) {
        seen = method + "/" + request + "/" + result;
        result = "answer";
        return 7;
    });
    ipc.AddMethodHandler("GET", &handler);
    std::string result = "before";
    EXPECT_EQ(7, Call(ipc, "GET", result));
    EXPECT_EQ("GET/request/before", seen);
    EXPECT_EQ("answer", result);
}

TEST(OnMethodCall, TellsMethodsApartByTheirWholeName) {
    TPlainIpc ipc;
    THandler one = Answering(1, "");
    THandler two = Answering(2, "");
    ipc.AddMethodHandler("GET", &one);
    ipc.AddMethodHandler("GET_ALL", &two);
    EXPECT_EQ(1, CodeOf(ipc, "GET"));
    EXPECT_EQ(2, CodeOf(ipc, "GET_ALL"));
    EXPECT_EQ(-1, CodeOf(ipc, "get"));
    EXPECT_EQ(-1, CodeOf(ipc, "*"));
}

TEST(OnMethodCall, ReachesTheHandlerThroughTheHandlerInterface) {
    TPlainIpc ipc;
    THandler handler = Answering(5, "");
    ipc.AddMethodHandler("GET", &handler);
    IZeltoIpcMethodHandler& asHandler = ipc;
    std::string result;
    EXPECT_EQ(5, asHandler.OnMethodCall("GET", "", result));
}

TEST(OnMethodCall, PassesAnExceptionOnAndFreesTheLock) {
    TPlainIpc ipc;
    THandler handler([](const std::string&, const std::string&, std::string&) -> int {
        throw std::domain_error("broken handler");
    });
    ipc.AddMethodHandler("GET", &handler);
    EXPECT_THROW(CodeOf(ipc, "GET"), std::domain_error);
    auto other = std::async(std::launch::async, [&] { return CodeOf(ipc, "OTHER"); });
    EXPECT_EQ(-1, other.get());
}

TEST(OnMethodCall, LetsOneHandlerRunAtATime) {
    TPlainIpc ipc;
    std::atomic<int> inside{0};
    std::atomic<int> mostInside{0};
    THandler handler([&](const std::string&, const std::string&, std::string&) {
        const int now = ++inside;
        mostInside = std::max(mostInside.load(), now);
        std::this_thread::yield();
        --inside;
        return 0;
    });
    ipc.AddMethodHandler("ONE", &handler);
    ipc.AddMethodHandler("OTHER", &handler);
    const auto callOften = [&](const char* method) {
        for (int i = 0; i < 200; ++i) {
            EXPECT_EQ(0, CodeOf(ipc, method));
        }
    };
    auto one = std::async(std::launch::async, callOften, "ONE");
    auto other = std::async(std::launch::async, callOften, "OTHER");
    one.get();
    other.get();
    EXPECT_EQ(1, mostInside);
}

TEST(MethodHandler, ReplacesAnEarlierOneOfTheMethod) {
    TPlainIpc ipc;
    THandler first = Answering(1, "");
    THandler second = Answering(2, "");
    ipc.AddMethodHandler("GET", &first);
    ipc.AddMethodHandler("GET", &second);
    EXPECT_EQ(2, CodeOf(ipc, "GET"));
}

TEST(MethodHandler, ServesUntilItIsRemoved) {
    TPlainIpc ipc;
    THandler handler = Answering(1, "");
    ipc.AddMethodHandler("GET", &handler);
    ipc.AddMethodHandler("SET", &handler);
    ipc.RemoveMethodHandler("GET");
    EXPECT_EQ(-1, CodeOf(ipc, "GET"));
    EXPECT_EQ(1, CodeOf(ipc, "SET"));
}

TEST(MethodHandler, MayBeRemovedThoughThereIsNone) {
    TPlainIpc ipc;
    ipc.RemoveMethodHandler("GET");
    EXPECT_EQ(-1, CodeOf(ipc, "GET"));
}

TEST(MethodHandler, MayAddAndRemoveHandlersWhileItRuns) {
    TPlainIpc ipc;
    THandler later = Answering(2, "");
    THandler handler([&](const std::string& method, const std::string&, std::string&) {
        ipc.RemoveMethodHandler(method);
        ipc.AddMethodHandler("LATER", &later);
        return 1;
    });
    ipc.AddMethodHandler("GET", &handler);
    EXPECT_EQ(1, CodeOf(ipc, "GET"));
    EXPECT_EQ(-1, CodeOf(ipc, "GET"));
    EXPECT_EQ(2, CodeOf(ipc, "LATER"));
}

TEST(MethodHandler, MayDispatchAnotherMethodWhileItRuns) {
    TPlainIpc ipc;
    THandler inner = Answering(2, "inner");
    THandler outer([&](const std::string&, const std::string&, std::string& result) {
        return Call(ipc, "INNER", result);
    });
    ipc.AddMethodHandler("INNER", &inner);
    ipc.AddMethodHandler("OUTER", &outer);
    std::string result;
    EXPECT_EQ(2, Call(ipc, "OUTER", result));
    EXPECT_EQ("inner", result);
}

TEST(MethodHandler, RunsToItsEndBeforeItsRemovalReturns) {
    TPlainIpc ipc;
    std::promise<void> entered;
    std::promise<void> mayLeave;
    bool left = false;
    THandler handler([&](const std::string&, const std::string&, std::string&) {
        entered.set_value();
        mayLeave.get_future().wait();
        left = true;
        return 0;
    });
    ipc.AddMethodHandler("GET", &handler);
    auto call = std::async(std::launch::async, [&] { return CodeOf(ipc, "GET"); });
    entered.get_future().wait();
    auto removal = std::async(std::launch::async, [&] {
        ipc.RemoveMethodHandler("GET");
        return left;
    });
    EXPECT_EQ(std::future_status::timeout, removal.wait_for(std::chrono::milliseconds(20)));
    mayLeave.set_value();
    EXPECT_EQ(0, call.get());
    EXPECT_TRUE(removal.get());
}

// Neither lock is taken while the other one is held, so a handler and a listener may use both tables.
TEST(MethodHandler, MayRaiseAnEventWhoseListenerAddsAHandler) {
    TPlainIpc ipc;
    THandler added = Answering(3, "");
    TListener listener(
        [&](const std::string&, const std::string&) { ipc.AddMethodHandler("ADDED", &added); });
    THandler handler([&](const std::string&, const std::string&, std::string&) {
        ipc.OnEvent("E", "");
        return 0;
    });
    ipc.AddEventLstener("", &listener);
    ipc.AddMethodHandler("GET", &handler);
    EXPECT_EQ(0, CodeOf(ipc, "GET"));
    EXPECT_EQ(3, CodeOf(ipc, "ADDED"));
}
