// What a peer gets: a JSON text with a "STATUS" and, for a file, its bytes.
#ifndef REMOTED_ANSWER_H
#define REMOTED_ANSWER_H

#include "zelto/TZeltoApplication.h"

#include <memory>
#include <string>
#include <vector>

namespace remoted {

constexpr char STATUS_OK[] = "OK";

struct TAnswer {
    std::string status; // for the log
    std::string frame;  // the bytes on the wire
    // Lives as long as the answer does: what bounds the number of answers of its kind.
    std::shared_ptr<void> slot{};
};

// The reason why there is nothing else.
TAnswer Refuse(const std::string& status);

// "OK" alone.
TAnswer Confirm();
// With the parameters, or a refusal when they are more than an answer can hold.
TAnswer AnswerWith(const std::vector<TZeltoApplication::TZeltoAppParam>& params);
// With the content of a file, at most MAX_BLOB_SIZE bytes.
TAnswer AnswerWith(const std::string& fileContent);

// The length of the text and that of the blob, 32 bits each and little-endian, then both.
std::string Frame(const std::string& json, const std::string& blob);

} // namespace remoted

#endif
