// The shortest client: reads a parameter and writes it.
#include <zelto/TZeltoApplication.h>

#include <iostream>

int main() {
    TZeltoApplication& app = TZeltoApplication::GetInstance();
    app.Initialize("MY_APPLICATION"); // its name on the bus
    std::string ssid;
    if (app.GetParam("Device.WiFi.SSID.1.SSID", ssid) != 0) {
        return 1;
    }
    std::cout << ssid << std::endl;
    return app.SetParam("Device.WiFi.SSID.1.SSID", "Home", true);
}
