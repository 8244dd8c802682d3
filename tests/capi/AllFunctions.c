/*
 * A C program that uses every function of the C interface once and leaves nothing behind: it is run under
 * valgrind. Its arguments are the identity to take and the address of a peer gateway. A manager that serves
 * the names below must be there.
 */
#include <zelto/ZeltoAppLib.h>

#include <stdio.h>
#include <string.h>

static int failures = 0;

static void Expect(const char* call, int actual, int expected) {
    if (actual != expected) {
        (void)printf("%s gave %d instead of %d\n", call, actual, expected);
        ++failures;
    }
}

#define EXPECT(call, expected) Expect(#call, (call), (expected))

static void OnClientState(int state, const char* macAddress, const char* hostName) {
    (void)printf("client %d %s %s\n", state, macAddress, hostName);
}

static void OnDataModelChange(const char* name, const char* value) {
    (void)printf("changed %s %s\n", name, value);
}

static void UseParams(void) {
    tZeltoParamRequest request = {0};
    tZeltoParamArray array = {0};
    tZeltoParamArrayRequest arrayRequest = {0};

    (void)strcpy(request.param.name, "Device.P.1");
    EXPECT(zeltoAppLibGetParam(&request), ZELTO_APP_OK);
    EXPECT(zeltoAppLibSetParam(&request.param, true), ZELTO_APP_OK);
    zeltoAppLibReleaseParamRequest(&request);

    zeltoAppLibAllocateParamArray(&array, 2);
    (void)strcpy(array.params[0].name, "Device.P.1");
    (void)strcpy(array.params[1].name, "Device.P.2");
    EXPECT(zeltoAppLibGetParamArray(&array), ZELTO_APP_OK);
    EXPECT(zeltoAppLibSetParamArray(&array, false), ZELTO_APP_OK);
    zeltoAppLibReleaseParamArray(&array);

    zeltoAppLibAllocateParamArrayRequest(&arrayRequest, 1);
    (void)strcpy(arrayRequest.paramArray.params[0].name, "Device.P.1");
    EXPECT(zeltoAppLibGetParamArray(&arrayRequest.paramArray), ZELTO_APP_OK);
    zeltoAppLibReleaseParamArrayRequest(&arrayRequest);
}

static void UseObjects(void) {
    tZeltoObjectRequest object = {0};
    tZeltoObjectIdsRequest ids = {0};
    tZeltoIndexMapRequest indexMap = {0};
    int instance = 0;

    (void)strcpy(object.name, "Device.P.");
    zeltoAppLibAllocateObjectRequest(&object, 1);
    (void)strcpy(object.paramArray.params[0].name, "Device.P.1");
    EXPECT(zeltoAppLibGetObject(&object), ZELTO_APP_OK);
    EXPECT(zeltoAppLibSetObject(&object, true), ZELTO_APP_OK);
    zeltoAppLibReleaseObjectRequest(&object);

    EXPECT(zeltoAppLibAddObjectInstance("Device.P.", &instance), ZELTO_APP_OK);
    EXPECT(zeltoAppLibDelObjectInstance("Device.P.1."), ZELTO_APP_OK);
    (void)strcpy(ids.name, "Device.P.");
    zeltoAppLibAllocateObjectIdsRequest(&ids, 4);
    EXPECT(zeltoAppLibGetObjectIds(&ids), ZELTO_APP_OK);
    zeltoAppLibReleaseObjectIdsRequest(&ids);

    EXPECT(zeltoAppLibGetIndexMapping(&indexMap), ZELTO_APP_OK);
    zeltoAppLibReleaseIndexMapRequest(&indexMap);
}

static void UseLongParams(void) {
    tZeltoLongParamRequest request = {0};
    (void)strcpy(request.name, "Device.Long");
    EXPECT(zeltoAppLibGetLongParam(&request), ZELTO_APP_OK);
    zeltoAppLibAllocateLongParamRequest(&request, 5);
    (void)strcpy(request.value, "text");
    EXPECT(zeltoAppLibSetLongParam(&request, true), ZELTO_APP_OK);
    zeltoAppLibReleaseLongParamRequest(&request);
}

static void UsePeer(const char* address) {
    tZeltoParamRemoteRequest param;
    tZeltoLongParamRemoteRequest file;
    (void)memset(&param, 0, sizeof(param));
    (void)memset(&file, 0, sizeof(file));
    (void)snprintf(param.remoteAddress, sizeof(param.remoteAddress), "%s", address);
    (void)snprintf(file.remoteAddress, sizeof(file.remoteAddress), "%s", address);

    (void)strcpy(param.request.param.name, "Device.P.1");
    EXPECT(zeltoAppLibGetParamRemote(&param), ZELTO_APP_OK);
    EXPECT(zeltoAppLibSetParamRemote(&param, true), ZELTO_APP_OK);
    zeltoAppLibReleaseParamRequest(&param.request);
    (void)strcpy(file.request.name, "/tmp/file");
    EXPECT(zeltoAppLibGetFileRemote(&file), ZELTO_APP_OK);
    zeltoAppLibReleaseLongParamRemote(&file);
}

int main(int argc, char** argv) {
    if (argc != 3) {
        (void)fprintf(stderr, "usage: %s IDENTITY PEER\n", argv[0]);
        return 2;
    }
    zeltoAppLibSubscribe(OnClientState, OnDataModelChange);
    zeltoAppLibInitWithString(argv[1]);
    zeltoAppLibInit(ZELTO_KESTA); /* changes nothing any more */
    UseParams();
    UseObjects();
    UseLongParams();
    UsePeer(argv[2]);
    zeltoAppLibTerm();
    zeltoAppLibUnsubscribe();
    return failures == 0 ? 0 : 1;
}
