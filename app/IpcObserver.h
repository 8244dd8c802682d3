// Turns the events of the bus into calls of the application's observers.
#ifndef ZELTO_APP_IPC_OBSERVER_H
#define ZELTO_APP_IPC_OBSERVER_H

#include "zelto/TZeltoIpc.h"

#include <string>

class TZeltoApplication;

class TZeltoIpcObserver : public IZeltoIpcEventListener {
public:
    explicit TZeltoIpcObserver(TZeltoApplication* notifiedApplication);
    // Runs on a dispatch thread. Events that it does not know are ignored; an exception of an observer
    // passes.
    void OnEvent(const std::string& eventName, const std::string& payload) override;
    ~TZeltoIpcObserver() override;

private:
    TZeltoApplication* application; // not owned
};

#endif
