/* Writes and reads the parameters of one object in one request each. usage: whole_object INSTANCE */
#include <zelto/ZeltoAppLib.h>

#include <stdio.h>
#include <stdlib.h>

#define OBJECT "Device.NAT.PortMapping.%d."

/* One element for each parameter of the object that is written or read. */
static void Name(tZeltoObjectRequest* object, int instance) {
    tZeltoParam* const params = object->paramArray.params;

    (void)snprintf(object->name, sizeof(object->name), OBJECT, instance);
    (void)snprintf(params[0].name, sizeof(params[0].name), OBJECT "Description", instance);
}

static int Set(int instance, const char* description) {
    tZeltoObjectRequest object = {0};
    int code;

    zeltoAppLibAllocateObjectRequest(&object, 1);
    Name(&object, instance);
    (void)snprintf(object.paramArray.params[0].value, ZELTO_TEXT_SIZE, "%s", description);
    code = zeltoAppLibSetObject(&object, true);
    zeltoAppLibReleaseObjectRequest(&object);
    return code;
}

static int Print(int instance) {
    tZeltoObjectRequest object = {0};
    uint32_t i;
    int code;

    zeltoAppLibAllocateObjectRequest(&object, 1);
    Name(&object, instance);
    code = zeltoAppLibGetObject(&object); /* on success the array is the answer */
    for (i = 0; code == ZELTO_APP_OK && i < object.paramArray.count; ++i) {
        (void)printf("%s = %s\n", object.paramArray.params[i].name, object.paramArray.params[i].value);
    }
    zeltoAppLibReleaseObjectRequest(&object);
    return code;
}

int main(int argc, char** argv) {
    const int instance = argc > 1 ? atoi(argv[1]) : 1;

    zeltoAppLibInitWithString("EXAMPLE_WHOLE_OBJECT");
    if (Set(instance, "set as a whole") != ZELTO_APP_OK || Print(instance) != ZELTO_APP_OK) {
        (void)fprintf(stderr, "the request failed; is there an instance %d?\n", instance);
        return 1;
    }
    return 0;
}
