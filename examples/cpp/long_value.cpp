// Reads a long value. Unlike the records of the C interface, strings take values of any length in every call.
#include <zelto/TZeltoApplication.h>

#include <iostream>
#include <string>

int main() {
    TZeltoApplication& app = TZeltoApplication::GetInstance();
    app.Initialize("EXAMPLE_LONG_VALUE");
    std::string value;
    if (app.GetParam("Device.DeviceInfo.X_ULMET_NetworkStatistics", value) != 0) {
        std::cerr << "the request failed; the log has the reason\n";
        return 1;
    }
    std::cout << value;
    std::cerr << value.size() << " characters\n";
    return 0;
}
