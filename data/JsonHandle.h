// Owns one reference to a jansson value.
#ifndef ZELTO_DATA_JSON_HANDLE_H
#define ZELTO_DATA_JSON_HANDLE_H

#include <jansson.h>

#include <memory>

namespace zelto {

struct TJsonRelease {
    void operator()(json_t* value) const { json_decref(value); }
};

using TJsonHandle = std::unique_ptr<json_t, TJsonRelease>;

} // namespace zelto

#endif
