// A JSON object made of a text that a test knows to be good.
#ifndef ZELTO_TESTS_PARSED_JSON_H
#define ZELTO_TESTS_PARSED_JSON_H

#include "zelto/TZeltoJsonObject.h"

#include <gtest/gtest.h>

#include <string>

inline TZeltoJsonObject Parsed(const std::string& text) {
    TZeltoJsonObject json;
    EXPECT_TRUE(json.DecodeFromString(text)) << text;
    return json;
}

// What an object is after a text that did not parse.
inline TZeltoJsonObject WithoutDocument() {
    TZeltoJsonObject json;
    EXPECT_FALSE(json.DecodeFromString("not json"));
    return json;
}

#endif
