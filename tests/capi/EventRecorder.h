/* Callbacks of a C program that keep what they were given. */
#ifndef ZELTO_TESTS_EVENT_RECORDER_H
#define ZELTO_TESTS_EVENT_RECORDER_H

#include <zelto/ZeltoAppLib.h>

#ifdef __cplusplus
extern "C" {
#endif

#define MAX_RECORDED 16

typedef struct tRecordedEvent {
    int state; /* -1 for a data-model change */
    char first[300];
    char second[300];
} tRecordedEvent;

extern tRecordedEvent recordedEvents[MAX_RECORDED];
extern int recordedCount;

void ClearRecorded(void);

void RecordClientState(int state, const char* macAddress, const char* hostName);
void RecordDataModelChange(const char* name, const char* value);

/* These record and then change the subscription from inside the callback. */
void RecordAndUnsubscribe(const char* name, const char* value);
void RecordAndSubscribeClientState(const char* name, const char* value);

#ifdef __cplusplus
}
#endif

#endif
