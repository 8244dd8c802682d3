#include "PlainAgainstJansson.h"

#include "data/JsonHandle.h"
#include "protocol/MessageBody.h"
#include "protocol/PlainWriter.h"

#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace plainjson {

namespace {

using zelto::TJsonHandle;

std::string Shown(const char* text, std::size_t length) {
    return text == nullptr ? "-" : "'" + std::string(text, length) + "'";
}

std::string ShownText(const json_t* object, const char* key) {
    const json_t* const value = json_object_get(object, key);
    return Shown(json_string_value(value), json_string_length(value));
}

std::string ShownFlag(bool flag) {
    return flag ? "true;" : "false;";
}

// Straight from the document, in words of its own.
std::string ReadByJansson(const std::string& text) {
    const TJsonHandle document(json_loads(text.c_str(), 0, nullptr));
    std::string shown;
    for (const std::string_view key : zelto::BODY_TEXT_KEYS) {
        shown += ShownText(document.get(), std::string(key).c_str());
    }
    shown += ShownFlag(json_is_true(json_object_get(document.get(), "COMMIT")));
    const json_t* const params = json_object_get(document.get(), "PARAMS");
    for (std::size_t i = 0; i < json_array_size(params); ++i) {
        const json_t* const entry = json_array_get(params, i);
        shown += ShownText(entry, "NAME") + ShownText(entry, "VALUE");
        shown += ShownFlag(json_is_true(json_object_get(entry, "COMMIT")));
    }
    return shown;
}

std::string Shown(std::string_view text) {
    return Shown(text.data(), text.size());
}

std::string Read(const std::string& text) {
    const zelto::TMessageBody body(text);
    std::string shown;
    for (unsigned key = 0; key < zelto::BODY_TEXT_COUNT; ++key) {
        shown += Shown(body.Text(static_cast<zelto::TBodyText>(key)));
    }
    shown += ShownFlag(body.Commit());
    for (const zelto::TBodyEntry& entry : body.Params()) {
        shown += Shown(entry.name) + Shown(entry.value) + ShownFlag(entry.commit);
    }
    return shown;
}

// jansson refuses to pack a text that is not UTF-8; both sides then say so in the same words.
std::string WrittenByJansson(const std::string& name, const std::string& value, bool flag) {
    const char* const n = name.c_str();
    const char* const v = value.c_str();
    const TJsonHandle document(json_pack("{s:s, s:[{s:s}, {s:s, s:s}], s:b, s:[], s:[i], s:n}", "NAME", n,
                                         "PARAMS", "NAME", n, "NAME", n, "VALUE", v, "COMMIT", flag ? 1 : 0,
                                         "IDS", "MORE", -7, "NONE"));
    if (!document) {
        return "refused";
    }
    const std::unique_ptr<char, decltype(&std::free)> text(json_dumps(document.get(), JSON_PRESERVE_ORDER),
                                                           std::free);
    return text.get();
}

std::string Written(const std::string& name, const std::string& value, bool flag) {
    zelto::TPlainWriter writer;
    try {
        writer.Text("NAME", name, "name");
        writer.BeginList("PARAMS");
        writer.BeginObject();
        writer.Text("NAME", name, "name");
        writer.EndObject();
        writer.BeginObject();
        writer.Text("NAME", name, "name");
        writer.Text("VALUE", value, "value");
        writer.EndObject();
        writer.EndList();
    } catch (const std::runtime_error&) {
        return "refused";
    }
    writer.Flag("COMMIT", flag);
    writer.BeginList("IDS");
    writer.EndList();
    writer.BeginList("MORE");
    writer.Element(-7);
    writer.EndList();
    writer.Null("NONE");
    return writer.Take();
}

std::string Difference(const std::string& ours, const std::string& janssons) {
    return ours == janssons ? std::string() : "ours: " + ours + "\njansson's: " + janssons;
}

} // namespace

std::string CompareReading(const std::string& text) {
    return Difference(Read(text), ReadByJansson(text));
}

std::string CompareWriting(const std::string& name, const std::string& value, bool flag) {
    return Difference(Written(name, value, flag), WrittenByJansson(name, value, flag));
}

} // namespace plainjson
