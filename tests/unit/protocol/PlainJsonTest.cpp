// The direct writer and reader agree with jansson, on a table of texts and on random ones. The fuzz target
// plain_json asks the same of many more.
#include "PlainAgainstJansson.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

using plainjson::CompareReading;
using plainjson::CompareWriting;

namespace {

constexpr int ROUNDS = 20000;

const char* const BODIES[] = {
    R"({"NAME": "Device.A"})",
    R"({"NAME": "Device.A", "VALUE": "1", "COMMIT": true})",
    R"({"PARAMS": [{"NAME": "Device.A", "VALUE": "1"}, {"NAME": "Device.B", "VALUE": ""}]})",
    R"({"PARAMS": [{"COMMIT": true, "VALUE": "1", "NAME": "Device.A"}], "ROOT": "Device.", "COMMIT": false})",
    R"({"MAC_ADDRESS": "00:11", "HOST_NAME": null})",
    R"({"PARAMS": null, "OBJ": "Device.X."})",
    " \t\r\n{ \"NAME\" :\"a\" , \"VALUE\":\"b\"}\n",
    R"({"NAME": "a", "NAME": "b"})",
    R"({"PARAMS": [], "PARAMS": [{"NAME": "a"}]})",
    R"({"PARAMS": [{"NAME": "a", "NAME": 5}]})",
    R"({"PARAMS": [{"NAME ": "a"}, {"NAM": "b"}, {"NAMES": "c"}, {" NAME": "d"}, {NAME": "e"}, {"NAME: "f"}]})",
    R"({"PARAMS": [{"NAME""VALUE": "a"}]})",
    R"({"PARAMS": [{"NAME" "COMMIT": true}]})",
    R"({"PARAMS": [{ "NAME" : "a" , "VALUE"  :"b"}, {"NAME)",
    R"({"NAME": "\ud83d\ude00\n"})",
    R"({"NAME": "a\u0000b"})",
    R"({"NAME": "a"}})",
    R"({"NAME": "a")",
    R"({"NAME": "a", })",
    R"({"NAME": true, "COMMIT": null})",
    R"({"COMMIT": truely})",
    R"({"PARAMS": [{"NAME": "a"} {"NAME": "b"}]})",
    R"({"PARAMS": [{"NAME": "a"},]})",
    R"({"PARAMS": [[{"NAME": "a"}]]})",
    R"({"PARAMS": [{"NAME": ""null})",
    R"([{"NAME": "a"}])",
    "\xEF\xBB\xBF{}",
    "{\"NAME\": \"\x7F\xC3\xA4\"}",
    "{\"NAME\": \"\xED\xA0\x80\"}",
    "{\"NAME\": \"tab\there\"}",
    "",
};

// What the mutations insert: the pieces that such texts are made of.
const char* const PIECES[] = {"\"",         "\\",    "{",    "}",     "[",        "]",
                              ",",          ":",     " ",    "\n",    "\x01",     "\xC3",
                              "\xC3\xA4",   "null",  "true", "false", "\"NAME\"", "\"VALUE\"",
                              "\"PARAMS\"", "\\u00", "\\n",  "1",     "\"ROOT\"", "a"};

template <std::size_t Size>
const char* AnyOf(const char* const (&texts)[Size], std::mt19937& random) {
    return texts[random() % Size];
}

std::string Mutated(std::string text, std::mt19937& random) {
    for (std::size_t left = random() % 4; left > 0; --left) {
        const std::size_t at = random() % (text.size() + 1);
        if (random() % 2 == 0) {
            text.insert(at, AnyOf(PIECES, random));
        } else {
            text.erase(at, random() % 4);
        }
    }
    return text;
}

std::string RandomText(std::mt19937& random) {
    std::string text;
    for (std::size_t left = random() % 12; left > 0; --left) {
        text += random() % 4 == 0 ? AnyOf(PIECES, random) : "Device.";
        if (random() % 16 == 0) {
            text.push_back(static_cast<char>(random()));
        }
    }
    return text;
}

TEST(PlainJson, ReadsTheTableAsJanssonDoes) {
    for (const char* text : BODIES) {
        EXPECT_EQ(CompareReading(text), "") << text;
    }
}

TEST(PlainJson, ReadsMutatedBodiesAsJanssonDoes) {
    std::mt19937 random(1);
    for (int round = 0; round < ROUNDS; ++round) {
        const std::string text = Mutated(AnyOf(BODIES, random), random);
        ASSERT_EQ(CompareReading(text), "") << text;
    }
}

TEST(PlainJson, WritesRandomTextsAsJanssonDoes) {
    std::mt19937 random(2);
    for (int round = 0; round < ROUNDS; ++round) {
        const std::string name = RandomText(random);
        const std::string value = RandomText(random);
        ASSERT_EQ(CompareWriting(name, value, round % 2 == 0), "") << name << '\n' << value;
    }
}

TEST(PlainJson, WritesEveryCharacterAsJanssonDoes) {
    for (int byte = 0; byte < 256; ++byte) {
        const std::string text = std::string("before ") + static_cast<char>(byte) + " after";
        EXPECT_EQ(CompareWriting(text, "", true), "") << byte;
        EXPECT_EQ(CompareWriting("", text, false), "") << byte;
    }
}

} // namespace
