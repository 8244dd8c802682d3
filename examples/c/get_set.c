/* Reads a parameter, changes it and reads it again. usage: get_set [VALUE] */
#include <zelto/ZeltoAppLib.h>

#include <stdio.h>

#define SSID "Device.WiFi.SSID.1.SSID"

static int Print(void) {
    tZeltoParamRequest request = {0};
    int code;

    (void)snprintf(request.param.name, sizeof(request.param.name), "%s", SSID);
    code = zeltoAppLibGetParam(&request);
    if (code == ZELTO_APP_OK && !request.isArray) {
        (void)printf("%s = %s\n", SSID, request.param.value);
    }
    zeltoAppLibReleaseParamRequest(&request);
    return code;
}

static int Set(const char* value) {
    tZeltoParam param = {"", ""};

    (void)snprintf(param.name, sizeof(param.name), "%s", SSID);
    (void)snprintf(param.value, sizeof(param.value), "%s", value);
    return zeltoAppLibSetParam(&param, true);
}

int main(int argc, char** argv) {
    zeltoAppLibInitWithString("EXAMPLE_GET_SET");
    if (Print() != ZELTO_APP_OK || Set(argc > 1 ? argv[1] : "example") != ZELTO_APP_OK ||
        Print() != ZELTO_APP_OK) {
        (void)fprintf(stderr, "the request failed; the log has the reason\n");
        return 1;
    }
    return 0;
}
