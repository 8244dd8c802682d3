#include "SetRequests.h"

#include "ExitCodes.h"
#include "Output.h"
#include "ParamRequests.h"

#include <algorithm>
#include <iterator>

namespace tool {

namespace {

TNames NamesOf(const TParams& params) {
    TNames names;
    std::transform(params.begin(), params.end(), std::back_inserter(names),
                   [](const TParam& param) { return param.name; });
    return names;
}

TAnswer SendOne(const TGlobals& globals, const TParam& param, const TSetMode& mode) {
    const char* const method = mode.isLong ? "SET_LONG_PARAM" : "SET_PARAM";
    return Call(globals, {method, SetEntry(param, mode.isCommitted).EncodeToString()});
}

TAnswer SendAll(const TGlobals& globals, const TParams& params, const TSetMode& mode) {
    TObjects entries;
    std::transform(params.begin(), params.end(), std::back_inserter(entries),
                   [&mode](const TParam& param) { return SetEntry(param, mode.isCommitted); });
    TZeltoJsonObject body;
    SetList(body, "PARAMS", entries);
    return Call(globals, {"SET_PARAM_ARRAY", body.EncodeToString()});
}

// What became of the parameters: those before `doneCount` are written, the next one has failed.
struct TProgress {
    int code;
    size_t doneCount;
    std::string reason;
};

TProgress SetOneByOne(const TGlobals& globals, const TParams& params, const TSetMode& mode) {
    for (size_t i = 0; i < params.size(); ++i) {
        const TAnswer answer = SendOne(globals, params[i], mode);
        if (answer.exitCode != EXIT_DONE) {
            return {answer.exitCode, i, answer.reason};
        }
    }
    return {EXIT_DONE, params.size(), ""};
}

TProgress Set(const TGlobals& globals, const TParams& params, const TSetMode& mode) {
    if (params.size() > 1 && !mode.isLong) {
        const TAnswer answer = SendAll(globals, params, mode);
        if (answer.exitCode != EXIT_REFUSED) {
            return {answer.exitCode, answer.exitCode == EXIT_DONE ? params.size() : 0, answer.reason};
        }
    }
    return SetOneByOne(globals, params, mode);
}

// A "*" that stands for nothing looks like a refusal.
void RefineRefusal(const TGlobals& globals, const TParam& param, TProgress& progress) {
    if (progress.code == EXIT_REFUSED && MatchesNothing(globals, param.name)) {
        progress.code = EXIT_NOTHING_MATCHED;
        progress.reason = "nothing matches";
    }
}

// Names each parameter, unless nothing came of any: then the failed one says it all.
int Report(const TGlobals& globals, const TParams& params, TProgress& progress) {
    const size_t failed = progress.doneCount;
    RefineRefusal(globals, params[failed], progress);
    for (size_t i = 0; i < failed; ++i) {
        PrintError("set " + params[i].name + ": done");
    }
    if (!IsAboutParameters(progress.code) && failed == 0) {
        PrintError(Describe("set", NamesOf(params)) + ": " + progress.reason);
        return progress.code;
    }
    PrintError("set " + params[failed].name + ": " + progress.reason);
    for (size_t i = failed + 1; i < params.size(); ++i) {
        PrintError("set " + params[i].name + ": not tried");
    }
    return failed == 0 ? progress.code : int{EXIT_PARTLY_DONE};
}

// Sets one parameter to its old value, unless it has it.
int Restore(const TGlobals& globals, const TZeltoJsonObject& oldEntry, const TSetMode& mode) {
    const TParam old{GetText(oldEntry, "NAME"), GetText(oldEntry, "VALUE")};
    const TAnswer now = Call(globals, {"GET_PARAM", NameEntry(old.name).EncodeToString()});
    const TObjects entries = GetList(Decode(now.text), "PARAMS");
    if (now.exitCode == EXIT_DONE && !entries.empty() && GetText(entries[0], "VALUE") == old.value) {
        return EXIT_DONE;
    }
    if (!IsAboutParameters(now.exitCode)) {
        PrintError("set " + old.name + ": it is not known whether it has its old value: " + now.reason);
        return now.exitCode;
    }
    const TAnswer answer = SendOne(globals, old, mode);
    if (answer.exitCode != EXIT_DONE) {
        PrintError("set " + old.name + ": does not have its old value again: " + answer.reason);
    }
    return answer.exitCode;
}

// Returns whether all have their old values in the end. Does not ask a manager again that gives no answer.
bool RestoreAll(const TGlobals& globals, const TObjects& old, const TSetMode& mode) {
    bool isRestored = true;
    for (auto entry = old.rbegin(); entry != old.rend(); ++entry) {
        const int code = Restore(globals, *entry, mode);
        isRestored = isRestored && code == EXIT_DONE;
        if (!IsAboutParameters(code)) {
            break;
        }
    }
    return isRestored;
}

// A parameter without an answer may be written all the same.
int RollBack(const TGlobals& globals, const TObjects& old, const TSetMode& mode, const TProgress& progress) {
    if (RestoreAll(globals, old, mode)) {
        PrintError("set: everything is as it was");
        return progress.code;
    }
    const bool isKnown = IsAboutParameters(progress.code);
    PrintError(isKnown ? "set: not everything is as it was" : "set: it is not known what is written");
    return isKnown || progress.doneCount > 0 ? int{EXIT_PARTLY_DONE} : progress.code;
}

int SetOrRollBack(const TGlobals& globals, const TParams& params, const TSetMode& mode) {
    TObjects old;
    const int readCode = ReadParams(globals, "set", NamesOf(params), old);
    if (readCode != EXIT_DONE) {
        PrintError("set: nothing is changed");
        return readCode == EXIT_PARTLY_DONE ? int{EXIT_REFUSED} : readCode;
    }
    const TProgress progress = Set(globals, params, mode);
    if (progress.code == EXIT_DONE) {
        return EXIT_DONE;
    }
    PrintError("set " + params[progress.doneCount].name + ": " + progress.reason);
    return RollBack(globals, old, mode, progress);
}

int SetAndReport(const TGlobals& globals, const TParams& params, const TSetMode& mode, size_t& doneCount) {
    if (mode.rollsBack) {
        const int code = SetOrRollBack(globals, params, mode);
        doneCount = code == EXIT_DONE ? params.size() : 0;
        return code;
    }
    TProgress progress = Set(globals, params, mode);
    doneCount = progress.doneCount;
    return progress.code == EXIT_DONE ? int{EXIT_DONE} : Report(globals, params, progress);
}

} // namespace

TZeltoJsonObject SetEntry(const TParam& param, bool isCommitted) {
    TZeltoJsonObject entry;
    SetBoolean(entry, "COMMIT", isCommitted);
    SetText(entry, "VALUE", param.value);
    SetText(entry, "NAME", param.name);
    return entry;
}

int SetParams(const TGlobals& globals, const TParams& params, const TSetMode& mode) {
    size_t doneCount = 0;
    const int code = SetAndReport(globals, params, mode, doneCount);
    TOutput output(globals, "PARAMS");
    for (size_t i = 0; i < doneCount; ++i) {
        (void)output.Add(SetEntry(params[i], mode.isCommitted));
    }
    return output.Finish(code);
}

int ShowSet(const TGlobals& globals, const TParams& params) {
    TOutput output(globals, "PARAMS");
    std::vector<int> codes;
    for (const TParam& param : params) {
        TObjects entries;
        codes.push_back(ReadParams(globals, "set", {param.name}, entries));
        if (!IsAboutParameters(codes.back())) {
            break;
        }
        for (const TZeltoJsonObject& entry : entries) {
            const TParam old{GetText(entry, "NAME"), GetText(entry, "VALUE")};
            TZeltoJsonObject record = ParamEntry({old.name, param.value});
            SetText(record, "OLD_VALUE", old.value);
            (void)output.Add(old.name + ": " + old.value + " -> " + param.value, record);
        }
    }
    return output.Finish(Conclude("set", NamesOf(params), codes));
}

} // namespace tool
