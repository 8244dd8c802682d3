// Prints events as they come, until the end of its input.
#include <zelto/TZeltoApplication.h>

#include <iostream>
#include <string>

namespace {

// Runs on a thread of the library, one event at a time.
class TPrinter : public IZeltoCpeClientStateObserver, public IZeltoDataModelChangeObserver {
    void OnCpeClientStateChanged(TZeltoCpeClientState state, const std::string& macAddress,
                                 const std::string& hostName) override {
        static const char* const names[] = {"connected", "reconnected", "disconnected", "refused", "blocked"};
        std::cout << "client " << macAddress << " (" << hostName << ") " << names[state] << std::endl;
    }

    void OnDataModelChanged(const std::string& name, const std::string& value) override {
        std::cout << name << " = " << value << std::endl;
    }
};

} // namespace

int main() {
    TPrinter printer;
    TZeltoApplication& app = TZeltoApplication::GetInstance();
    app.AddCpeClientStateObserver(&printer);
    app.AddDataModelChangeObserver(&printer);
    app.Initialize("EXAMPLE_WATCH_EVENTS");
    std::cerr << "Watching; the end of the input ends it.\n";
    while (std::cin.get() != std::char_traits<char>::eof()) {
    }
    // Observers are not owned: once removed, they may go.
    app.RemoveCpeClientStateObserver(&printer);
    app.RemoveDataModelChangeObserver(&printer);
    return 0;
}
