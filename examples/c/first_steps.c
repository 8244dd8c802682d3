/* The shortest client: reads a parameter. */
#include <zelto/ZeltoAppLib.h>

#include <stdio.h>
#include <string.h>

int main(void) {
    zeltoAppLibInitWithString("MY_APPLICATION");

    tZeltoParamRequest request = {0};
    (void)strcpy(request.param.name, "Device.WiFi.SSID.1.SSID");
    if (zeltoAppLibGetParam(&request) == ZELTO_APP_OK && !request.isArray) {
        (void)puts(request.param.value);
    }
    zeltoAppLibReleaseParamRequest(&request);
    return 0;
}
