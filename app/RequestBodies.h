// Pieces that the bodies of requests and answers have in common.
#ifndef ZELTO_APP_REQUEST_BODIES_H
#define ZELTO_APP_REQUEST_BODIES_H

#include "data/JsonHandle.h"
#include "protocol/PlainWriter.h"
#include "zelto/TZeltoApplication.h"
#include "zelto/ZeltoAppRecords.h"

#include <string>
#include <string_view>
#include <vector>

namespace zelto {

// Those that write throw std::runtime_error when a text is not UTF-8. It names the parameter; a name that is
// not UTF-8 itself is shown up to there.

// "NAME".
void WriteName(TPlainWriter& body, std::string_view name);

// "NAME", "VALUE" and "COMMIT".
void WriteAssignment(TPlainWriter& body, std::string_view name, std::string_view value, bool commit);

// "PARAMS" with one name entry, or one parameter entry, for each parameter; null when there are none.
void WriteNames(TPlainWriter& body, const std::vector<TZeltoApplication::TZeltoAppParam>& params);
void WriteNames(TPlainWriter& body, const tZeltoParamArray& params);
void WriteParams(TPlainWriter& body, const std::vector<TZeltoApplication::TZeltoAppParam>& params);

// The path of an object, under `key`.
void WritePath(TPlainWriter& body, std::string_view key, std::string_view path);

// Replaces the list by the parameter entries of an answer, or by those of the list that stands in a document
// under "PARAMS"; none when that is no list.
void ReadParams(const std::string& answer, std::vector<TZeltoApplication::TZeltoAppParam>& params);
void ReadEntries(const json_t* entries, std::vector<TZeltoApplication::TZeltoAppParam>& params);

} // namespace zelto

#endif
