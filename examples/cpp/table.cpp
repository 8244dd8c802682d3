// Adds an instance to a table, lists the table, and deletes the instance. "table keep" does not delete it.
#include <zelto/TZeltoApplication.h>

#include <iostream>
#include <string>
#include <vector>

namespace {

const std::string TABLE = "Device.NAT.PortMapping.";

int PrintIds(TZeltoApplication& app) {
    std::vector<int> ids;
    const int code = app.GetObjectIds(TABLE, ids);
    for (const int id : ids) {
        std::cout << "instance " << id << '\n';
    }
    return code;
}

int PrintDescriptions(TZeltoApplication& app) {
    std::vector<TZeltoApplication::TZeltoAppParam> params;
    const int code = app.GetParam(TABLE + "*.Description", params); // "*" stands for every instance number
    for (const TZeltoApplication::TZeltoAppParam& param : params) {
        std::cout << param.name << " = " << param.value << '\n';
    }
    return code;
}

} // namespace

int main(int argc, char** argv) {
    const bool keep = argc > 1 && std::string(argv[1]) == "keep";
    TZeltoApplication& app = TZeltoApplication::GetInstance();
    app.Initialize("EXAMPLE_TABLE");

    int instance = 0;
    int code = app.AddObject(TABLE, instance);
    const std::string object = TABLE + std::to_string(instance) + ".";
    code = code == 0 ? app.SetParam(object + "Description", "made by an example", true) : code;
    code = code == 0 ? PrintIds(app) : code;
    code = code == 0 ? PrintDescriptions(app) : code;
    code = code == 0 && !keep ? app.RemoveObject(object) : code;
    if (code != 0) {
        std::cerr << "the request failed; the log has the reason\n";
        return 1;
    }
    return 0;
}
