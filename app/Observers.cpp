#include "zelto/ZeltoObservers.h"

IZeltoCpeClientStateObserver::~IZeltoCpeClientStateObserver() = default;

IZeltoDataModelChangeObserver::~IZeltoDataModelChangeObserver() = default;

IZeltoAppStateObserver::~IZeltoAppStateObserver() = default;
