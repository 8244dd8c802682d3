#include "Answer.h"

#include "Limits.h"

#include "zelto/TZeltoJsonObject.h"

#include <cstdint>

namespace remoted {

namespace {

constexpr char TOO_LONG[] = "the answer is longer than 4096 bytes";

void AppendLength(std::string& frame, std::size_t length) {
    for (unsigned shift = 0; shift < 32; shift += 8) {
        frame += static_cast<char>((static_cast<uint32_t>(length) >> shift) & 0xFFU);
    }
}

TZeltoJsonObject WithStatus(const std::string& status) {
    TZeltoJsonObject json;
    (void)json.SetJsonObject("STATUS", json.ToJson(status)); // of our own texts: always UTF-8
    return json;
}

} // namespace

TAnswer Refuse(const std::string& status) {
    return {status, Frame(WithStatus(status).EncodeToString(), "")};
}

TAnswer Confirm() {
    return Refuse(STATUS_OK);
}

TAnswer AnswerWith(const std::vector<TZeltoApplication::TZeltoAppParam>& params) {
    TZeltoJsonObject json = WithStatus(STATUS_OK);
    TZeltoApplication::GetInstance().ParamArrayToJson(params, json);
    const std::string text = json.EncodeToString();
    return text.size() > MAX_JSON_SIZE ? Refuse(TOO_LONG) : TAnswer{STATUS_OK, Frame(text, "")};
}

TAnswer AnswerWith(const std::string& fileContent) {
    return {STATUS_OK, Frame(WithStatus(STATUS_OK).EncodeToString(), fileContent)};
}

std::string Frame(const std::string& json, const std::string& blob) {
    std::string frame;
    frame.reserve(2 * sizeof(uint32_t) + json.size() + blob.size());
    AppendLength(frame, json.size());
    AppendLength(frame, blob.size());
    return frame.append(json).append(blob);
}

} // namespace remoted
