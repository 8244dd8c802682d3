/* The smallest manager: a parameter, a table with add and delete, and a long value. */
#include <zelto/ZeltoPlatformLib.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define ROWS 8 /* of the table Device.NAT.PortMapping.; its instances are 1 to ROWS */

/* The library serves one request at a time, so these need no lock. */
static char ssid[ZELTO_TEXT_SIZE] = "home";
static bool used[ROWS + 1];
static char descriptions[ROWS + 1][ZELTO_TEXT_SIZE];

static char* FindMapping(int32_t count, const int32_t* indices) {
    return count == 1 && indices[0] <= ROWS && used[indices[0]] ? descriptions[indices[0]] : NULL;
}
static char* FindText(const void* record) {
    const tZeltoPlatformRequest* const request = record; /* its name is that of the entry below */
    return strcmp(request->name, "ssid") == 0 ? ssid : FindMapping(request->indexCount, request->indices);
}
static int32_t Copy(char* to, const char* from) {
    if (to == NULL || from == NULL || strlen(from) >= ZELTO_TEXT_SIZE)
        return PLT_INVALID_ARGUMENT;
    (void)strcpy(to, from);
    return PLT_SUCCESS;
}
static int32_t GetText(void* record) {
    return Copy(((tZeltoPlatformRequest*)record)->value, FindText(record));
}
static int32_t SetText(void* record) {
    return Copy(FindText(record), ((tZeltoPlatformRequest*)record)->longValue);
}
/* The whole object is its one parameter. */
static int32_t GetMapping(void* record) {
    const tZeltoPlatformObjectRequest* const request = record;
    const char* const description = FindMapping(request->indexCount, request->indices);
    return request->paramCount == 1 ? Copy(request->params[0].value, description) : PLT_NOT_SUPPORTED;
}
static int32_t SetMapping(void* record) {
    const tZeltoPlatformObjectRequest* const request = record;
    char* const description = FindMapping(request->indexCount, request->indices);
    return request->paramCount == 1 ? Copy(description, request->params[0].value) : PLT_NOT_SUPPORTED;
}
static int32_t AddMapping(void* record) {
    static int32_t last = 0; /* a number is not given twice */
    if (last == ROWS)
        return PLT_RESOURCES_EXCEEDED;
    used[++last] = true;
    (void)memcpy(((tZeltoPlatformRequest*)record)->value, &last, sizeof(last));
    return PLT_SUCCESS;
}
static int32_t DeleteMapping(void* record) {
    const tZeltoPlatformRequest* const request = record;
    const bool found = FindMapping(request->indexCount, request->indices) != NULL;
    used[found ? request->indices[0] : 0] = false;
    return found ? PLT_SUCCESS : PLT_NOT_FOUND;
}
static int32_t ListMappings(void* record) {
    int32_t list[1 + ROWS] = {0}; /* the count, and the numbers behind it */
    for (int32_t id = 1; id <= ROWS; ++id)
        if (used[id])
            list[++list[0]] = id;
    (void)memcpy(((tZeltoPlatformRequest*)record)->value, list, sizeof(list));
    return PLT_SUCCESS;
}
static int32_t GetStatistics(void* record) {
    char* const text = calloc(65536, 1); /* the library frees it */
    FILE* const file = fopen("/proc/net/dev", "r");
    const size_t length = text != NULL && file != NULL ? fread(text, 1, 65535, file) : 0;
    ((tZeltoPlatformRequest*)record)->longValue = text;
    return (file == NULL || fclose(file) == 0) && length > 0 ? PLT_SUCCESS : PLT_FAILURE;
}

/* clang-format off */
static const tZeltoPltFunctionTable entries[] = { /* true: a successful set sends "DATA_MODEL_CHANGED" */
    {"Device.WiFi.SSID.{i}.SSID", 0, "ssid", true,
     {{PLT_REQUEST_GET_PARAM, GetText}, {PLT_REQUEST_SET_PARAM, SetText}}},
    {"Device.NAT.PortMapping.{i}.Description", 0, "description", true,
     {{PLT_REQUEST_GET_PARAM, GetText}, {PLT_REQUEST_SET_PARAM, SetText}}},
    {"Device.NAT.PortMapping.", 0, "mappings", false,
     {{PLT_REQUEST_ADD_OBJECT, AddMapping}, {PLT_REQUEST_GET_OBJECT_IDS, ListMappings}}},
    {"Device.NAT.PortMapping.{i}.", 0, "mapping", false,
     {{PLT_REQUEST_GET_OBJECT, GetMapping}, {PLT_REQUEST_SET_OBJECT, SetMapping},
      {PLT_REQUEST_DELETE_OBJECT, DeleteMapping}}},
    {"Device.DeviceInfo.X_ULMET_NetworkStatistics", 0, "statistics", false,
     {{PLT_REQUEST_GET_PARAM, GetStatistics}}},
};
/* clang-format on */

int main(void) {
    const tZeltoPlatformLibTable table = {entries, sizeof(entries) / sizeof(entries[0]), NULL};
    zeltoPlatformLibInit(&table);
    (void)fputs("Serving; the end of the input ends it.\n", stderr);
    while (getchar() != EOF) {
    }
    zeltoPlatformLibTerm();
    return 0;
}
