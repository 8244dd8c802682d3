// Writes and reads the parameters of one object in one request each. usage: whole_object INSTANCE
#include <zelto/TZeltoApplication.h>

#include <iostream>
#include <string>
#include <vector>

namespace {

using TParams = std::vector<TZeltoApplication::TZeltoAppParam>;

} // namespace

int main(int argc, char** argv) {
    const std::string object = std::string("Device.NAT.PortMapping.") + (argc > 1 ? argv[1] : "1") + ".";
    TZeltoApplication& app = TZeltoApplication::GetInstance();
    app.Initialize("EXAMPLE_WHOLE_OBJECT");

    // One element for each parameter of the object that is written or read.
    TParams params = {{object + "Description", "set as a whole"}};
    if (app.SetObject(object, params, true) != 0 || app.GetObject(object, params) != 0) {
        std::cerr << "the request failed; is there an object " << object << "?\n";
        return 1;
    }
    for (const TZeltoApplication::TZeltoAppParam& param : params) { // which are now the answer
        std::cout << param.name << " = " << param.value << '\n';
    }
    return 0;
}
