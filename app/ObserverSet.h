// Notification of a set of observers, the same for all three families.
#ifndef ZELTO_APP_OBSERVER_SET_H
#define ZELTO_APP_OBSERVER_SET_H

#include <set>

namespace zelto {

// Calls `notify(TObserver&)` for every observer in ascending order of their addresses. The caller holds the
// lock of the set. An observer may add and remove observers, itself included: so the next one is looked up
// anew each time.
template <typename TObserver, typename TNotify>
void NotifyEach(const std::set<TObserver*>& observers, const TNotify& notify) {
    for (auto next = observers.begin(); next != observers.end();) {
        TObserver* const observer = *next;
        if (observer != nullptr) { // a null may be registered; there is nobody to call
            notify(*observer);
        }
        next = observers.upper_bound(observer);
    }
}

} // namespace zelto

#endif
