#include "TraceEntry.h"

#include "BodyText.h"

#include <algorithm>
#include <cstdio>

#include <fnmatch.h>

namespace tool {

namespace {

// A process that has ended since may have left no more than its number, or not even that.
std::string DescribePeer(const TPeer& peer) {
    if (peer.process == 0) {
        return peer.uniqueName;
    }
    std::string number = std::to_string(peer.process);
    return peer.processName.empty() ? number : number + "/" + peer.processName;
}

std::string WordAndBlank(const std::string& word) {
    return word.empty() ? "" : word + " ";
}

std::string MillisecondsText(double milliseconds) {
    char text[32];
    (void)std::snprintf(text, sizeof(text), "%.3f ms", milliseconds);
    return text;
}

// What was asked, and what was answered if it does not name that itself.
std::string AboutReply(const TTraceEntry& entry) {
    std::string asked = DescribeBody(entry.request);
    if (!entry.error.empty() || entry.answer.empty()) {
        return asked;
    }
    std::string answered = DescribeBody(entry.answer);
    if (asked.empty() || !PathsOf(entry.answer).empty()) {
        return answered;
    }
    return asked + (entry.verb == "GET_LONG_PARAM" ? "=" : " ") + answered;
}

std::string Outcome(const TTraceEntry& entry) {
    return entry.error.empty() ? "code " + std::to_string(entry.code) : entry.error;
}

std::string LineOfReply(const TTraceEntry& entry) {
    std::string about = AboutReply(entry);
    return "reply " + DescribePeer(entry.sender) + " -> " + DescribePeer(entry.receiver) + " " + entry.verb +
           " " + WordAndBlank(about) + Outcome(entry) + " in " + MillisecondsText(entry.milliseconds) +
           (entry.isSlow ? " SLOW" : "");
}

std::string LineOfKind(const TTraceEntry& entry) {
    if (entry.kind == TTraceEntry::REPLY) {
        return LineOfReply(entry);
    }
    std::string about = DescribeBody(entry.request);
    std::string what = about.empty() ? entry.verb : entry.verb + " " + about;
    if (entry.kind == TTraceEntry::EVENT) {
        return "event " + DescribePeer(entry.sender) + " " + what;
    }
    return "call " + DescribePeer(entry.sender) + " -> " + entry.target + " " + what;
}

template <typename T>
void Set(TZeltoJsonObject& record, const char* key, const T& value) {
    (void)record.SetJsonObject(key, record.ToJson(value));
}

// A text that is JSON as what it says, any other as a text.
void SetBody(TZeltoJsonObject& record, const char* key, const std::string& text) {
    TZeltoJsonObject body;
    if (body.DecodeFromString(text)) {
        Set(record, key, body);
    } else {
        Set(record, key, text);
    }
}

void SetPeer(TZeltoJsonObject& record, const TPeer& peer) {
    (void)record.SetJsonObject("PID", peer.process == 0 ? nullptr : record.ToJson(peer.process));
    (void)record.SetJsonObject("PROCESS", peer.process == 0 ? nullptr : record.ToJson(peer.processName));
    Set(record, "SENDER", peer.uniqueName);
}

void SetReply(TZeltoJsonObject& record, const TTraceEntry& entry) {
    SetBody(record, "ANSWER", entry.answer);
    Set(record, "CODE", entry.code);
    if (!entry.error.empty()) {
        Set(record, "ERROR", entry.error);
    }
    Set(record, "MS", entry.milliseconds);
    Set(record, "SLOW", entry.isSlow);
}

const char* KindText(TTraceEntry::TKind kind) {
    switch (kind) {
    case TTraceEntry::CALL:
        return "call";
    case TTraceEntry::REPLY:
        return "reply";
    default:
        return "event";
    }
}

} // namespace

std::string LineOf(const TTraceEntry& entry) {
    return entry.time + " " + LineOfKind(entry);
}

TZeltoJsonObject RecordOf(const TTraceEntry& entry) {
    TZeltoJsonObject record;
    Set(record, "TIME", entry.time);
    Set(record, "KIND", std::string(KindText(entry.kind)));
    SetPeer(record, entry.sender);
    if (entry.kind == TTraceEntry::EVENT) {
        Set(record, "EVENT", entry.verb);
        SetBody(record, "DATA", entry.request);
        return record;
    }
    Set(record, "TARGET", entry.kind == TTraceEntry::CALL ? entry.target : entry.receiver.uniqueName);
    Set(record, "METHOD", entry.verb);
    SetBody(record, "REQUEST", entry.request);
    if (entry.kind == TTraceEntry::REPLY) {
        SetReply(record, entry);
    }
    return record;
}

bool Matches(const TTraceEntry& entry, const std::string& pattern) {
    std::vector<std::string> texts = PathsOf(entry.request);
    std::vector<std::string> answered = PathsOf(entry.answer);
    texts.insert(texts.end(), answered.begin(), answered.end());
    texts.push_back(entry.verb);
    return std::any_of(texts.begin(), texts.end(), [&pattern](const std::string& text) {
        return fnmatch(pattern.c_str(), text.c_str(), FNM_NOESCAPE) == 0;
    });
}

} // namespace tool
