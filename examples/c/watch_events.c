/* Prints events as they come, until the end of its input. */
#include <zelto/ZeltoAppLib.h>

#include <stdio.h>

/* The texts are valid only during the call. Callbacks run on a thread of the library, one at a time. */
static void OnClientState(int state, const char* macAddress, const char* hostName) {
    static const char* const names[] = {"connected", "reconnected", "disconnected", "refused", "blocked"};
    (void)printf("client %s (%s) %s\n", macAddress, hostName, names[state]);
    (void)fflush(stdout);
}

static void OnDataModelChange(const char* name, const char* value) {
    (void)printf("%s = %s\n", name, value);
    (void)fflush(stdout);
}

int main(void) {
    zeltoAppLibSubscribe(OnClientState, OnDataModelChange);
    zeltoAppLibInitWithString("EXAMPLE_WATCH_EVENTS");
    (void)fputs("Watching; the end of the input ends it.\n", stderr);
    while (getchar() != EOF) {
    }
    zeltoAppLibTerm();
    return 0;
}
