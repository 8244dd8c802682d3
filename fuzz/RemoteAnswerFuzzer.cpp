// Feeds framed answers of a peer gateway to every remote request, in C++ and in C.
//
// Input: request, fault of the peer, the bytes that it sends. A result is 0 only for the status "OK"; a
// failure leaves the record alone; what arrives is never longer than announced and allowed; no descriptor
// stays open.
#include "ExpectedAnswer.h"
#include "FuzzInput.h"
#include "ScriptedPeer.h"

#include "protocol/RemoteLimits.h"
#include "zelto/TZeltoApplication.h"
#include "zelto/ZeltoAppLib.h"

#include <iterator>
#include <optional>

namespace {

using fuzz::Require;

constexpr const char* ADDRESS = "127.0.0.1";
constexpr const char* NAME = "Device.WiFi.SSID.1.SSID";
constexpr std::size_t HEAD = 2 * sizeof(uint32_t);

// The answer as its head announces it, taken apart without haste.
struct TFramed {
    explicit TFramed(const std::string& bytes) {
        uint32_t jsonSize = 0;
        uint32_t blobSize = 0;
        if (bytes.size() < HEAD) {
            return;
        }
        std::memcpy(&jsonSize, bytes.data(), sizeof(jsonSize));
        std::memcpy(&blobSize, bytes.data() + sizeof(jsonSize), sizeof(blobSize));
        if (jsonSize == 0 || jsonSize > zelto::MAX_REMOTE_JSON_SIZE) {
            return;
        }
        const std::string text = bytes.substr(HEAD, jsonSize);
        json = text.substr(0, text.find('\0'));
        if (blobSize != 0 && blobSize <= zelto::MAX_REMOTE_BLOB_SIZE) {
            const std::size_t begin = std::min(bytes.size(), HEAD + jsonSize);
            blob = bytes.substr(begin, blobSize);
            missing = blobSize - blob->size();
        }
    }

    std::optional<std::string> json;
    std::optional<std::string> blob;
    std::size_t missing = 0; // of the blob, when the peer closes early

    // The blob of a buffer that held `former`: what does not come stays.
    std::string BlobIn(std::string former) const {
        if (blob) {
            former.resize(blob->size() + missing);
            former.replace(0, blob->size(), *blob);
        }
        return former;
    }
};

bool IsReachable() {
    return fuzz::Peer().fault != fuzz::FAILS_SOCKET && fuzz::Peer().fault != fuzz::FAILS_CONNECT;
}

TFramed Announced() {
    return TFramed(IsReachable() ? fuzz::Peer().sends : std::string());
}

fuzz::TExpectedAnswer Expected(const TFramed& framed) {
    return fuzz::TExpectedAnswer(framed.json.value_or(""));
}

int CodeFor(const fuzz::TExpectedAnswer& expected) {
    return expected.status == "OK" ? 0 : -1;
}

TZeltoApplication& Application() {
    return TZeltoApplication::GetInstance();
}

void Exchange() {
    const TFramed framed = Announced();
    std::string response = "kept";
    std::vector<char> blob{'k'};
    const bool isSent = Application().PerformRemoteRequest("{}", ADDRESS, response, &blob);
    Require(isSent == IsReachable(), "a peer that is there is asked");
    Require(response == framed.json.value_or("kept"), "the text is what the frame holds");
    Require(std::string(blob.begin(), blob.end()) == framed.BlobIn("k"), "so is the blob");
}

void Set() {
    const fuzz::TExpectedAnswer expected = Expected(Announced());
    Require(Application().SetParamRemote(ADDRESS, NAME, "a", true) == CodeFor(expected),
            "the status decides");
}

void Get() {
    const fuzz::TExpectedAnswer expected = Expected(Announced());
    std::vector<TZeltoApplication::TZeltoAppParam> params{{"kept", "kept"}};
    const int code = Application().GetParamRemote(ADDRESS, NAME, params);
    Require(code == CodeFor(expected), "the status decides");
    Require(params.size() == (code == 0 ? expected.params.size() : 1), "every entry becomes a parameter");
}

void GetRecord() {
    const fuzz::TExpectedAnswer expected = Expected(Announced());
    tZeltoParamRemoteRequest request{};
    std::strcpy(request.remoteAddress, ADDRESS);
    const int code = zeltoAppLibGetParamRemote(&request);
    const std::size_t count = code == 0 ? expected.params.size() : 0;
    Require(code == CodeFor(expected), "the status decides");
    Require(request.request.isArray == (count > 1), "several answers are an array");
    Require(request.request.paramArray.count == (count > 1 ? count : 0), "the array has them all");
    Require(fuzz::IsTerminated(request.request.param.name) && fuzz::IsTerminated(request.request.param.value),
            "the last byte of a field is the caller's");
    zeltoAppLibReleaseParamRequest(&request.request);
}

void GetFile() {
    const TFramed framed = Announced();
    tZeltoLongParamRemoteRequest request{};
    std::strcpy(request.remoteAddress, ADDRESS);
    const int code = zeltoAppLibGetFileRemote(&request);
    Require(code == CodeFor(Expected(framed)), "the status decides");
    const std::string file = code == 0 ? framed.BlobIn("") : "";
    Require(std::string(request.request.value, request.request.size) == file, "the file is the blob");
    zeltoAppLibReleaseLongParamRemote(&request);
}

constexpr void (*REQUESTS[])() = {Exchange, Set, Get, GetRecord, GetFile};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::TInput input(data, size);
    const std::size_t request = input.Byte() % std::size(REQUESTS);
    fuzz::Peer() = fuzz::TPeer{};
    fuzz::Peer().fault = input.Byte() % fuzz::PEER_FAULTS;
    fuzz::Peer().sends = input.Rest();
    REQUESTS[request]();
    Require(fuzz::Peer().opened == fuzz::Peer().closed, "the connection is closed");
    if (!fuzz::Peer().received.empty()) {
        (void)fuzz::RequireObject(fuzz::Peer().received, "a request is a JSON object");
    }
    return 0;
}
