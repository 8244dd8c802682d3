/*
 * Lets libdbus release what it keeps for the whole process, for programs whose heap must be empty at the end.
 * That may happen only when the objects of all shared libraries are gone. So it is registered before those
 * are made, and as nobody's handler: atexit would tie it to this program, whose handlers run first.
 */
#include <dbus/dbus.h>

#include <stddef.h>

int __cxa_atexit(void (*handler)(void*), void* argument, void* owner);

static void ShutDown(void* unused) {
    (void)unused;
    dbus_shutdown();
}

static void RegisterShutDown(void) {
    (void)__cxa_atexit(ShutDown, NULL, NULL);
}

__attribute__((section(".preinit_array"), used)) static void (*const registration)(void) = RegisterShutDown;
