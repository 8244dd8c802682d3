// Reads a parameter, changes it and reads it again. usage: get_set [VALUE]
#include <zelto/TZeltoApplication.h>

#include <iostream>
#include <string>

namespace {

const std::string SSID = "Device.WiFi.SSID.1.SSID";

int Print(TZeltoApplication& app) {
    std::string value;
    const int code = app.GetParam(SSID, value);
    if (code == 0) {
        std::cout << SSID << " = " << value << '\n';
    }
    return code;
}

} // namespace

int main(int argc, char** argv) {
    TZeltoApplication& app = TZeltoApplication::GetInstance();
    app.Initialize("EXAMPLE_GET_SET");
    if (Print(app) != 0 || app.SetParam(SSID, argc > 1 ? argv[1] : "example", true) != 0 || Print(app) != 0) {
        std::cerr << "the request failed; the log has the reason\n";
        return 1;
    }
    return 0;
}
