#include "app/RequestRunner.h"
#include "protocol/ParamEntries.h"
#include "protocol/RequestNames.h"
#include "zelto/TZeltoApplication.h"

namespace {

using TIndexPairs = std::vector<std::pair<int, int>>;
using TIndexMap = std::unordered_map<std::string, TIndexPairs>;

TIndexPairs ReadPairs(const json_t* pairs) {
    TIndexPairs read;
    read.reserve(zelto::ElementCount(pairs));
    for (std::size_t index = 0; index < zelto::ElementCount(pairs); ++index) {
        const json_t* const pair = zelto::ElementAt(pairs, index);
        read.emplace_back(zelto::IntegerOf(pair, zelto::KEY_APP_INDEX),
                          zelto::IntegerOf(pair, zelto::KEY_PLATFORM_INDEX));
    }
    return read;
}

void ReadIndexMap(const std::string& answer, TIndexMap& indexMap) {
    const zelto::TJsonHandle response = zelto::ParseDocument(answer.c_str());
    const json_t* const models = json_object_get(response.get(), zelto::KEY_DATA_MODELS);
    for (std::size_t index = 0; index < zelto::ElementCount(models); ++index) {
        const json_t* const model = zelto::ElementAt(models, index);
        indexMap[zelto::TextOf(model, zelto::KEY_NAME)] =
            ReadPairs(json_object_get(model, zelto::KEY_INDEX_MAP));
    }
}

} // namespace

int TZeltoApplication::GetIndexMap(TIndexMap& indexMap) {
    return zelto::Guarded([&] {
        std::string answer;
        // The one request without a body: an empty text, not an empty object.
        const int rc = zelto::CallManager(*ipc, zelto::METHOD_GET_INDEX_MAP, "", answer);
        if (rc == 0) {
            ReadIndexMap(answer, indexMap);
        }
        return rc;
    });
}
