#include "zelto/TZeltoDBus.h"

TZeltoIpc* getZeltoIpcInstance() {
    static TZeltoDBus instance;
    return &instance;
}

TZeltoIpc* newZeltoIpcInstance() {
    return new TZeltoDBus();
}
