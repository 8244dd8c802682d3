#include "zelto/TZeltoDataMapper.h"

#include <gtest/gtest.h>

#include <climits>
#include <type_traits>

namespace {

struct TRow {
    int value;
    const char* text;
};

const TRow EVENT_TYPES[] = {
    {0, "CLIENT_CONNECTED"},      {1, "CLIENT_RECONNECTED"},     {2, "CLIENT_DISCONNECTED"},
    {3, "CLIENT_UNAUTH_ATTEMPT"}, {4, "CLIENT_BLOCKED_ATTEMPT"}, {5, "DATA_MODEL_CHANGED"},
};

const TRow DEVICE_STATES[] = {
    {0, "CLIENT_CONNECTED"},      {1, "CLIENT_RECONNECTED"},     {2, "CLIENT_DISCONNECTED"},
    {3, "CLIENT_UNAUTH_ATTEMPT"}, {4, "CLIENT_BLOCKED_ATTEMPT"},
};

const TRow CLIENT_IDS[] = {
    {0, "ZELTO_MANAGER"},          {1, "ZELTO_KESTA"},       {2, "ZELTO_LUMEN"},
    {3, "ZELTO_SPEEDTEST"},        {4, "ZELTO_DISPATCHER"},  {6, "ZELTO_APP_SIMULATOR"},
    {7, "ZELTO_SOFTWARE_UPDATER"}, {8, "ZELTO_ORVAN_AGENT"}, {9, "ZELTO_LOGGING_MANAGER"},
    {10, "ZELTO_TIRSA"},           {11, "ZELTO_TOPOLOGY"},   {12, "ZELTO_REMOTE"},
};

// Near misses of a text that is known.
const char* const UNKNOWN_TEXTS[] = {
    "",
    "client_connected",
    "CLIENT_CONNECTED ",
    " CLIENT_CONNECTED",
    "CLIENT",
    "PLT_EVENT_",
    "zelto_manager",
    "ZELTO_MANAGER_UNKNOWN",
    "ZELTO_",
    "5",
};

const TZeltoDataMapper& Mapper() {
    return *TZeltoDataMapper::GetInstance();
}

} // namespace

TEST(DataMapper, IsOneInstance) {
    EXPECT_NE(TZeltoDataMapper::GetInstance(), nullptr);
    EXPECT_EQ(TZeltoDataMapper::GetInstance(), TZeltoDataMapper::GetInstance());
}

TEST(DataMapper, HasAVirtualDestructorAndNoData) {
    EXPECT_TRUE(std::has_virtual_destructor_v<TZeltoDataMapper>);
    EXPECT_EQ(sizeof(TZeltoDataMapper), sizeof(void*));
    EXPECT_FALSE(std::is_copy_constructible_v<TZeltoDataMapper>);
}

TEST(DataMapperEnumerations, AreThirtyTwoBitsWide) {
    EXPECT_EQ(sizeof(tZeltoPltEventType), 4U);
    EXPECT_EQ(sizeof(tZeltoClientDeviceState), 4U);
    EXPECT_EQ(sizeof(tZeltoClientId), 4U);
    EXPECT_EQ(sizeof(tZeltoPltReturnCode), 4U);
}

TEST(MapStrToPltEventType, KnowsEveryRow) {
    for (const TRow& row : EVENT_TYPES) {
        EXPECT_EQ(Mapper().MapStrToPltEventType(row.text), row.value) << row.text;
    }
}

TEST(MapStrToPltEventType, GivesUnknownForOtherTexts) {
    for (const char* text : UNKNOWN_TEXTS) {
        EXPECT_EQ(Mapper().MapStrToPltEventType(text), 6) << text;
    }
}

TEST(MapPltEventTypeToStr, KnowsEveryRow) {
    for (const TRow& row : EVENT_TYPES) {
        EXPECT_STREQ(Mapper().MapPltEventTypeToStr(static_cast<tZeltoPltEventType>(row.value)), row.text);
    }
}

TEST(MapPltEventTypeToStr, GivesTheEmptyTextForOtherValues) {
    for (const int value : {6, 7, -1, INT_MIN, INT_MAX}) {
        EXPECT_STREQ(Mapper().MapPltEventTypeToStr(static_cast<tZeltoPltEventType>(value)), "") << value;
    }
}

TEST(MapStrToClientDeviceState, KnowsEveryRow) {
    for (const TRow& row : DEVICE_STATES) {
        EXPECT_EQ(Mapper().MapStrToClientDeviceState(row.text), row.value) << row.text;
    }
}

TEST(MapStrToClientDeviceState, GivesUnknownForOtherTexts) {
    for (const char* text : UNKNOWN_TEXTS) {
        EXPECT_EQ(Mapper().MapStrToClientDeviceState(text), 5) << text;
    }
}

TEST(MapStrToClientDeviceState, GivesUnknownForTheDataModelEvent) {
    EXPECT_EQ(Mapper().MapStrToPltEventType("DATA_MODEL_CHANGED"), PLT_EVENT_DATA_MODEL_CHANGED);
    EXPECT_EQ(Mapper().MapStrToClientDeviceState("DATA_MODEL_CHANGED"), CLIENT_STATE_UNKNOWN);
}

TEST(MapStrToClientId, KnowsEveryRow) {
    for (const TRow& row : CLIENT_IDS) {
        EXPECT_EQ(Mapper().MapStrToClientId(row.text), row.value) << row.text;
    }
}

TEST(MapStrToClientId, GivesUnknownForOtherTexts) {
    for (const char* text : UNKNOWN_TEXTS) {
        EXPECT_EQ(Mapper().MapStrToClientId(text), 13) << text;
    }
}

TEST(MapClientIdToStr, KnowsEveryRow) {
    for (const TRow& row : CLIENT_IDS) {
        EXPECT_STREQ(Mapper().MapClientIdToStr(static_cast<tZeltoClientId>(row.value)), row.text);
    }
}

TEST(MapClientIdToStr, GivesTheEmptyTextForTheGapAndOtherValues) {
    for (const int value : {5, 13, 14, -1, INT_MIN, INT_MAX}) {
        EXPECT_STREQ(Mapper().MapClientIdToStr(static_cast<tZeltoClientId>(value)), "") << value;
    }
}

TEST(MapRcPltToCmn, GivesZeroForSuccessOnly) {
    EXPECT_EQ(Mapper().MapRcPltToCmn(PLT_SUCCESS), 0);
    for (const int code : {1, 2, 7, 11, 12, -1, -5, INT_MIN, INT_MAX}) {
        EXPECT_EQ(Mapper().MapRcPltToCmn(code), -1) << code;
    }
}

TEST(ReturnCodes, HaveTheirNumbers) {
    const int codes[] = {PLT_SUCCESS,
                         PLT_FAILURE,
                         PLT_INTERNAL_ERROR,
                         PLT_INVALID_ARGUMENT,
                         PLT_INVALID_PARAM_NAME,
                         PLT_INVALID_PARAM_VALUE,
                         PLT_NONWRITABLE,
                         PLT_NOT_FOUND,
                         PLT_NOT_SUPPORTED,
                         PLT_RESOURCES_EXCEEDED,
                         PLT_RETRY_REQUEST,
                         PLT_TIMEOUT};
    int expected = 0;
    for (const int code : codes) {
        EXPECT_EQ(code, expected++);
    }
}
