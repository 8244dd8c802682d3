#include "capi/EventRecorder.h"

#include <stdio.h>

tRecordedEvent recordedEvents[MAX_RECORDED];
int recordedCount = 0;

static void Record(int state, const char* first, const char* second) {
    if (recordedCount < MAX_RECORDED) {
        tRecordedEvent* const event = &recordedEvents[recordedCount];
        event->state = state;
        (void)snprintf(event->first, sizeof(event->first), "%s", first);
        (void)snprintf(event->second, sizeof(event->second), "%s", second);
    }
    ++recordedCount;
}

void ClearRecorded(void) {
    recordedCount = 0;
}

void RecordClientState(int state, const char* macAddress, const char* hostName) {
    Record(state, macAddress, hostName);
}

void RecordDataModelChange(const char* name, const char* value) {
    Record(-1, name, value);
}

void RecordAndUnsubscribe(const char* name, const char* value) {
    Record(-1, name, value);
    zeltoAppLibUnsubscribe();
}

void RecordAndSubscribeClientState(const char* name, const char* value) {
    Record(-1, name, value);
    zeltoAppLibSubscribe(RecordClientState, NULL);
}
