// add, del, ls, getobj and setobj.

#include "Assignments.h"
#include "ExitCodes.h"
#include "IndexMap.h"
#include "Output.h"
#include "ParamRequests.h"
#include "Verbs.h"

#include <algorithm>
#include <iterator>
#include <memory>

namespace tool {

namespace {

struct TObjectOptions {
    std::string object;
    std::vector<std::string> arguments;
    bool valuesOnly = false;
    bool isCommitted = false;
};

using TRunVerb = int (*)(const TGlobals&, const TObjectOptions&);

std::string WithFinalDot(const std::string& path) {
    return path.empty() || path.back() != '.' ? path + "." : path;
}

TZeltoJsonObject ObjectBody(const std::string& object) {
    TZeltoJsonObject body;
    SetText(body, "OBJ", object);
    return body;
}

int RunAdd(const TGlobals& globals, const TObjectOptions& options) {
    const std::string table = WithFinalDot(options.object);
    TZeltoJsonObject record = ObjectBody(table);
    TZeltoJsonObject answer;
    const int code =
        Ask(globals, {"add " + table, "ADD_OBJECT_INSTANCE", record.EncodeToString(), "ID"}, answer);
    if (code != EXIT_DONE) {
        return code;
    }
    const int id = GetInteger(answer, "ID");
    SetInteger(record, "ID", id);
    TOutput output(globals, "");
    (void)output.Add(table + std::to_string(id) + ".", record);
    return output.Finish(EXIT_DONE);
}

int RunDel(const TGlobals& globals, const TObjectOptions& options) {
    const std::string instance = WithFinalDot(options.object);
    const TZeltoJsonObject record = ObjectBody(instance);
    TZeltoJsonObject answer;
    const int code =
        Ask(globals, {"del " + instance, "DELETE_OBJECT_INSTANCE", record.EncodeToString(), ""}, answer);
    if (code != EXIT_DONE) {
        return code;
    }
    TOutput output(globals, "");
    (void)output.Add(record);
    return output.Finish(EXIT_DONE);
}

// The manager lists an instance by the platform's number.
std::string InstancePath(const TIndexMap& indexMap, const std::string& table, int id) {
    const std::string path = table + std::to_string(id) + ".";
    return table[0] == '@' ? path : ToApplicationName(indexMap, path);
}

int PrintInstances(const TGlobals& globals, const TObjectOptions& options, const std::vector<int>& ids) {
    const std::string table = WithFinalDot(options.object);
    const bool needsMap = table[0] != '@' && !(options.valuesOnly && globals.format == FORMAT_TEXT);
    TIndexMap indexMap;
    const int code = needsMap ? ReadIndexMap(globals, "ls " + table, indexMap) : int{EXIT_DONE};
    if (code != EXIT_DONE) {
        return code;
    }
    TOutput output(globals, "INSTANCES");
    for (const int id : ids) {
        TZeltoJsonObject record = ObjectBody(InstancePath(indexMap, table, id));
        SetInteger(record, "ID", id);
        (void)output.Add(options.valuesOnly ? std::to_string(id) : GetText(record, "OBJ"), record);
    }
    return output.Finish(EXIT_DONE);
}

int RunLs(const TGlobals& globals, const TObjectOptions& options) {
    const std::string table = WithFinalDot(options.object);
    TZeltoJsonObject answer;
    const int code = Ask(
        globals, {"ls " + table, "GET_OBJECT_INSTANCES", ObjectBody(table).EncodeToString(), "IDS"}, answer);
    return code == EXIT_DONE ? PrintInstances(globals, options, GetIntegers(answer, "IDS")) : code;
}

// A name that is no full path is one below the object.
std::string FullName(const std::string& root, const std::string& name) {
    const bool isFull = name.rfind("Device.", 0) == 0 || (!name.empty() && name[0] == '@');
    return isFull ? name : root + name;
}

TZeltoJsonObject ObjectRequest(const std::string& root, const TObjects& entries) {
    TZeltoJsonObject body;
    SetList(body, "PARAMS", entries);
    SetText(body, "ROOT", root);
    return body;
}

int RunGetObj(const TGlobals& globals, const TObjectOptions& options) {
    const std::string root = WithFinalDot(options.object);
    TObjects names;
    for (const std::string& name : options.arguments) {
        names.push_back(NameEntry(FullName(root, name)));
    }
    TZeltoJsonObject answer;
    const int code =
        Ask(globals, {"getobj " + root, "GET_OBJECT", ObjectRequest(root, names).EncodeToString(), "PARAMS"},
            answer);
    return code == EXIT_DONE ? PrintParams(globals, GetList(answer, "PARAMS"), options.valuesOnly, code)
                             : code;
}

int RunSetObj(const TGlobals& globals, const TObjectOptions& options) {
    const std::string root = WithFinalDot(options.object);
    TParams params;
    const int readCode = ReadArguments("setobj", options.arguments, params);
    if (readCode != EXIT_DONE) {
        return readCode;
    }
    TObjects entries;
    for (const TParam& param : params) {
        entries.push_back(ParamEntry({FullName(root, param.name), param.value}));
    }
    TZeltoJsonObject body = ObjectRequest(root, entries);
    SetBoolean(body, "COMMIT", options.isCommitted);
    TZeltoJsonObject answer;
    const int code = Ask(globals, {"setobj " + root, "SET_OBJECT", body.EncodeToString(), ""}, answer);
    if (code != EXIT_DONE) {
        return code;
    }
    TOutput output(globals, "");
    (void)output.Add(body);
    return output.Finish(EXIT_DONE);
}

TVerb AddVerb(TVerb app, TContext& context, const std::shared_ptr<TObjectOptions>& options,
              const std::pair<const char*, const char*>& nameAndHelp, TRunVerb run) {
    TVerb verb = app.AddVerb(nameAndHelp.first, nameAndHelp.second);
    verb.OnChosen([&context, options, run] {
        context.run = [&context, options, run] { return run(context.globals, *options); };
    });
    return verb;
}

void AddInstanceVerbs(TVerb app, TContext& context) {
    auto options = std::make_shared<TObjectOptions>();
    TVerb add =
        AddVerb(app, context, options, {"add", "Add an instance to a table and print its name"}, RunAdd);
    add.AddOption("OBJECT", options->object, "Name of a table").Require();
    TVerb del = AddVerb(app, context, options, {"del", "Delete an instance of a table"}, RunDel);
    del.AddOption("OBJECT.N", options->object, "Name of an instance").Require();
    TVerb ls = AddVerb(app, context, options, {"ls", "Print the instances of a table"}, RunLs);
    ls.AddOption("OBJECT", options->object, "Name of a table").Require();
    ls.AddFlag("-V,--values", options->valuesOnly, "Print the numbers, as the platform counts");
}

void AddWholeObjectVerbs(TVerb app, TContext& context) {
    auto options = std::make_shared<TObjectOptions>();
    TVerb getobj =
        AddVerb(app, context, options, {"getobj", "Read parameters of an object in one request"}, RunGetObj);
    getobj.AddOption("ROOT", options->object, "Name of an object").Require();
    getobj.AddOption("NAME", options->arguments, "Name of a parameter, full or below the object").Require();
    getobj.AddFlag("-V,--values", options->valuesOnly, "Print the values without the names");
    TVerb setobj =
        AddVerb(app, context, options, {"setobj", "Write parameters of an object in one request"}, RunSetObj);
    setobj.AddOption("ROOT", options->object, "Name of an object").Require();
    setobj.AddOption("NAME=VALUE", options->arguments, "Name and value, as for set").Require();
    setobj.AddFlag("-c,--commit", options->isCommitted, "Apply the values");
}

} // namespace

void AddObjectVerbs(TVerb app, TContext& context) {
    AddInstanceVerbs(app, context);
    AddWholeObjectVerbs(app, context);
}

} // namespace tool
