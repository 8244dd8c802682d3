#include "app/CApiConvert.h"

#include "utils/FixedText.h"

#include <algorithm>
#include <cstdint>

namespace zelto {

namespace {

std::unique_ptr<tZeltoIndexPair[]> NewPairs(const std::vector<std::pair<int, int>>& source) {
    std::unique_ptr<tZeltoIndexPair[]> pairs = NewArray<tZeltoIndexPair>(source.size());
    std::transform(source.begin(), source.end(), pairs.get(), [](const std::pair<int, int>& pair) {
        return tZeltoIndexPair{pair.first, pair.second};
    });
    return pairs;
}

// The texts come from JSON and so hold no NUL.
template <typename TParams>
void StoreAll(tZeltoParamArray& array, const TParams& params) {
    std::unique_ptr<tZeltoParam[]> records = NewUnfilledArray<tZeltoParam>(params.size());
    tZeltoParam* record = records.get();
    for (const auto& param : params) {
        CopyTerminated(record->name, std::string_view(param.name));
        CopyTerminated(record->value, std::string_view(param.value));
        ++record;
    }
    const std::unique_ptr<tZeltoParam[]> earlier(array.params);
    array.params = records.release();
    array.count = static_cast<std::uint32_t>(params.size());
}

} // namespace

TAppParams ParamsOf(const tZeltoParamArray& array) {
    TAppParams params(array.count);
    std::transform(array.params, array.params + array.count, params.begin(), [](const tZeltoParam& param) {
        return TZeltoApplication::TZeltoAppParam{ReadField(param.name), ReadField(param.value)};
    });
    return params;
}

void StoreParam(tZeltoParam& record, const TZeltoApplication::TZeltoAppParam& param) {
    CopyAllButLast(record.name, param.name);
    CopyAllButLast(record.value, param.value);
}

void StoreParams(tZeltoParamArray& array, const TAppParams& params) {
    StoreAll(array, params);
}

void StoreParams(tZeltoParamArray& array, const std::vector<TBodyEntry>& params) {
    StoreAll(array, params);
}

void StoreIds(tZeltoObjectIdsRequest& request, const std::vector<int>& ids) {
    zeltoAppLibAllocateObjectIdsRequest(&request, static_cast<std::uint32_t>(ids.size()));
    std::copy(ids.begin(), ids.end(), request.ids);
}

void StoreIndexMap(tZeltoIndexMapRequest& request, const TIndexMap& indexMap) {
    // All pairs are made before the first map takes over any: nothing leaks when memory runs out.
    std::vector<std::unique_ptr<tZeltoIndexPair[]>> pairs;
    pairs.reserve(indexMap.size());
    for (const auto& entry : indexMap) {
        pairs.push_back(NewPairs(entry.second));
    }

    request.maps = NewArray<tZeltoIndexMap>(indexMap.size()).release();
    request.count = static_cast<std::uint32_t>(indexMap.size());
    std::size_t i = 0;
    for (const auto& [name, source] : indexMap) {
        tZeltoIndexMap& map = request.maps[i];
        CopyAllButLast(map.name, name);
        map.pairs = pairs[i].release();
        map.count = static_cast<std::uint32_t>(source.size());
        ++i;
    }
}

void StoreBytes(tZeltoLongParamRequest& request, const char* bytes, std::size_t size) {
    std::unique_ptr<char[]> value = NewArray<char>(size);
    std::copy(bytes, bytes + size, value.get());
    request.value = value.release();
    request.size = static_cast<std::uint32_t>(size);
}

void StoreText(tZeltoLongParamRequest& request, std::string_view text) {
    std::unique_ptr<char[]> value = NewArray<char>(text.size() + 1);
    std::copy(text.begin(), text.end(), value.get());
    request.value = value.release();
    request.size = static_cast<std::uint32_t>(text.size() + 1);
}

} // namespace zelto
