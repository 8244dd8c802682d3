// Between the records of the C interface and the containers of TZeltoApplication. A function that runs out of
// memory leaves the record as it was.
#ifndef ZELTO_APP_C_API_CONVERT_H
#define ZELTO_APP_C_API_CONVERT_H

#include "protocol/PlainReader.h"
#include "zelto/TZeltoApplication.h"
#include "zelto/ZeltoAppRecords.h"

#include <cstddef>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace zelto {

using TAppParams = std::vector<TZeltoApplication::TZeltoAppParam>;
using TIndexMap = std::unordered_map<std::string, std::vector<std::pair<int, int>>>;

// What fits into 31 bits of bytes: the limit of a 32-bit host, kept on every host.
template <typename T>
void RequireArraySize(std::size_t count) {
    if (count > 0x7FFFFFFFU / sizeof(T)) {
        throw std::bad_array_new_length();
    }
}

// An array in the form in which a record owns it. It is filled with zeros, so each text in it is terminated.
template <typename T>
std::unique_ptr<T[]> NewArray(std::size_t count) {
    RequireArraySize<T>(count);
    return std::unique_ptr<T[]>(new T[count]());
}

// For who fills all of it: large arrays are worth one way through memory instead of two.
template <typename T>
std::unique_ptr<T[]> NewUnfilledArray(std::size_t count) {
    RequireArraySize<T>(count);
    return std::unique_ptr<T[]>(new T[count]);
}

// The array's names and values. `array.params` is not null.
TAppParams ParamsOf(const tZeltoParamArray& array);

// These replace the record's array: the earlier one is released once the new one is made. Texts are cut to
// 255 bytes.
void StoreParams(tZeltoParamArray& array, const TAppParams& params);
void StoreParams(tZeltoParamArray& array, const std::vector<TBodyEntry>& params);
void StoreIds(tZeltoObjectIdsRequest& request, const std::vector<int>& ids);

// One parameter: the first 255 bytes of both texts.
void StoreParam(tZeltoParam& record, const TZeltoApplication::TZeltoAppParam& param);

// These leave the record's earlier array alone: the caller has released it, or lives with it.
void StoreIndexMap(tZeltoIndexMapRequest& request, const TIndexMap& indexMap);
void StoreBytes(tZeltoLongParamRequest& request, const char* bytes, std::size_t size);
// The text and its terminator.
void StoreText(tZeltoLongParamRequest& request, std::string_view text);

} // namespace zelto

#endif
