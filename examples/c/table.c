/* Adds an instance to a table, lists the table, and deletes the instance. "table keep" does not delete it. */
#include <zelto/ZeltoAppLib.h>

#include <stdio.h>
#include <string.h>

#define TABLE "Device.NAT.PortMapping."

static int Describe(int instance) {
    tZeltoParam param = {"", "made by an example"};

    (void)snprintf(param.name, sizeof(param.name), TABLE "%d.Description", instance);
    return zeltoAppLibSetParam(&param, true);
}

static int PrintIds(void) {
    tZeltoObjectIdsRequest request = {TABLE, NULL, 0};
    const int code = zeltoAppLibGetObjectIds(&request);
    uint32_t i;

    for (i = 0; code == ZELTO_APP_OK && i < request.count; ++i) {
        (void)printf("instance %d\n", (int)request.ids[i]);
    }
    zeltoAppLibReleaseObjectIdsRequest(&request);
    return code;
}

/* A "*" stands for every instance number; the answer has an element for each. */
static int PrintDescriptions(void) {
    uint32_t i;
    int code;
    tZeltoParamArray array = {NULL, 0};

    zeltoAppLibAllocateParamArray(&array, 1);
    (void)strcpy(array.params[0].name, "Device.NAT.PortMapping.*.Description");
    code = zeltoAppLibGetParamArray(&array);
    for (i = 0; code == ZELTO_APP_OK && i < array.count; ++i) {
        (void)printf("%s = %s\n", array.params[i].name, array.params[i].value);
    }
    zeltoAppLibReleaseParamArray(&array);
    return code;
}

static int Delete(int instance) {
    char name[ZELTO_TEXT_SIZE];

    (void)snprintf(name, sizeof(name), TABLE "%d.", instance);
    return zeltoAppLibDelObjectInstance(name);
}

int main(int argc, char** argv) {
    const bool keep = argc > 1 && strcmp(argv[1], "keep") == 0;
    int instance = 0;

    zeltoAppLibInitWithString("EXAMPLE_TABLE");
    if (zeltoAppLibAddObjectInstance(TABLE, &instance) != ZELTO_APP_OK ||
        Describe(instance) != ZELTO_APP_OK || PrintIds() != ZELTO_APP_OK ||
        PrintDescriptions() != ZELTO_APP_OK || (!keep && Delete(instance) != ZELTO_APP_OK)) {
        (void)fprintf(stderr, "the request failed; the log has the reason\n");
        return 1;
    }
    return 0;
}
