// The words of the protocol: method names in the order in which they are registered and compared, and JSON
// keys.
#ifndef ZELTO_PROTOCOL_REQUEST_NAMES_H
#define ZELTO_PROTOCOL_REQUEST_NAMES_H

#include <cstddef>

namespace zelto {

enum TRequestMethod : std::size_t {
    METHOD_GET_PARAM,
    METHOD_SET_PARAM,
    METHOD_GET_LONG_PARAM,
    METHOD_SET_LONG_PARAM,
    METHOD_GET_PARAM_ARRAY,
    METHOD_SET_PARAM_ARRAY,
    METHOD_GET_OBJECT,
    METHOD_SET_OBJECT,
    METHOD_ADD_OBJECT_INSTANCE,
    METHOD_DELETE_OBJECT_INSTANCE,
    METHOD_GET_OBJECT_INSTANCES,
    METHOD_GET_INDEX_MAP,
    METHOD_COUNT
};

constexpr const char* METHOD_NAMES[METHOD_COUNT] = {
    "GET_PARAM",
    "SET_PARAM",
    "GET_LONG_PARAM",
    "SET_LONG_PARAM",
    "GET_PARAM_ARRAY",
    "SET_PARAM_ARRAY",
    "GET_OBJECT",
    "SET_OBJECT",
    "ADD_OBJECT_INSTANCE",
    "DELETE_OBJECT_INSTANCE",
    "GET_OBJECT_INSTANCES",
    "GET_INDEX_MAP",
};

// Served by applications, not by the platform side.
constexpr const char* IS_APP_ACTIVE_METHOD = "IS_APP_ACTIVE";

constexpr const char* KEY_NAME = "NAME";
constexpr const char* KEY_VALUE = "VALUE";
constexpr const char* KEY_COMMIT = "COMMIT";
constexpr const char* KEY_PARAMS = "PARAMS";
constexpr const char* KEY_ROOT = "ROOT";
constexpr const char* KEY_OBJ = "OBJ";
constexpr const char* KEY_ID = "ID";
constexpr const char* KEY_COUNT = "COUNT";
constexpr const char* KEY_IDS = "IDS";
constexpr const char* KEY_DATA_MODELS = "DATA_MODELS";
constexpr const char* KEY_INDEX_MAP = "INDEX_MAP";
constexpr const char* KEY_APP_INDEX = "APP_INDEX";
constexpr const char* KEY_PLATFORM_INDEX = "PLATFORM_INDEX";

// Events.
constexpr const char* KEY_MAC_ADDRESS = "MAC_ADDRESS";
constexpr const char* KEY_HOST_NAME = "HOST_NAME";
constexpr const char* KEY_DATA_MODEL_NAME = "DATA_MODEL_NAME";
constexpr const char* KEY_DATA_MODEL_VALUE = "DATA_MODEL_VALUE";

// Requests to a peer gateway.
constexpr const char* KEY_REQUEST_TYPE = "REQUEST_TYPE";
constexpr const char* KEY_FILE_NAME = "FILE_NAME";
constexpr const char* KEY_STATUS = "STATUS";
constexpr const char* GET_FILE_REQUEST = "GET_FILE";
constexpr const char* STATUS_OK = "OK";

} // namespace zelto

#endif
