/* Reads a value that is longer than the 255 characters of a record's field. */
#include <zelto/ZeltoAppLib.h>

#include <stdio.h>

int main(void) {
    tZeltoLongParamRequest request = {"Device.DeviceInfo.X_ULMET_NetworkStatistics", NULL, 0};

    zeltoAppLibInitWithString("EXAMPLE_LONG_VALUE");
    if (zeltoAppLibGetLongParam(&request) != ZELTO_APP_OK) {
        (void)fprintf(stderr, "the request failed; the log has the reason\n");
        return 1;
    }
    (void)printf("%s", request.value);
    (void)fprintf(stderr, "%u characters\n", (unsigned)request.size - 1);
    zeltoAppLibReleaseLongParamRequest(&request);
    return 0;
}
