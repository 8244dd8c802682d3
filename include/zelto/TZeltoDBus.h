// The transport over the D-Bus system bus. The one public header that needs libdbus; programs that use
// TZeltoIpc and TZeltoApplication do not include it.
#ifndef ZELTO_DBUS_H
#define ZELTO_DBUS_H

#include "zelto/Export.h"
#include "zelto/TZeltoIpc.h"

#include <dbus/dbus.h>

#include <string>

// One party on the bus. It has two private connections: on the server connection it owns its bus name
// "com.Ulmet.Zelto.<identity>", receives events and serves methods; on the client connection it makes calls
// and sends events. A bus that goes away is waited for, and everything is set up again when it is back.
class ZELTO_API TZeltoDBus : public TZeltoIpc {
public:
    // Owns one reference to a message.
    class ZELTO_API TBusMessage {
    public:
        // Takes over the caller's reference. Throws std::runtime_error for null.
        explicit TBusMessage(DBusMessage* ownedMessage);
        TBusMessage& operator=(DBusMessage* ownedMessage);
        virtual ~TBusMessage();
        DBusMessage* operator()() const;
        // DBUS_MESSAGE_TYPE_...
        int GetType() const;

    private:
        TBusMessage(const TBusMessage&) = delete;
        TBusMessage& operator=(const TBusMessage&) = delete;

        DBusMessage* message;
    };

    // An error that libdbus fills.
    class ZELTO_API TBusError {
    public:
        TBusError();
        ~TBusError();
        // When the error is set: logs "context - message" and throws it as std::runtime_error.
        void Check(const std::string& context);
        // For handing to libdbus; valid while this object lives.
        DBusError* Get();

    private:
        TBusError(const TBusError&) = delete;
        TBusError& operator=(const TBusError&) = delete;

        DBusError error;
    };

    TZeltoDBus();

    // The order of virtual functions is binary interface; see TZeltoIpc for what they promise.
    ~TZeltoDBus() override;
    void Init(const std::string& localIdentity) override;
    void Run() override;
    void SendEvent(const std::string& eventName, const std::string& eventData) override;
    int CallMethod(const std::string& method, const std::string& request, std::string& result) override;
    int CallMethod(const std::string& method, const std::string& request, std::string& result,
                   TMethodSettings& settings) override;
    void Stop() override;

protected:
    void MainLoop() override;

    void Connect();
    void Disconnect();
    DBusConnection* CreateConnection(DBusBusType busType);
    void RegisterBusName();
    void ReleaseBusName();
    void BecomeMonitor();
    void MessageHandler(DBusMessage* message);
    void MonitorHandler(DBusMessage* message);
    void Reply(DBusMessage* call, const std::string& result, int code);
    void GetMessageValue(DBusMessage* message, std::string& text, int32_t* code);
    static DBusHandlerResult MessageFilter(DBusConnection* connection, DBusMessage* message, void* data);

    // The order of members is binary interface.
    DBusConnection* serverConnection;
    DBusConnection* clientConnection;
    std::string busName;
    std::string interfaceName;
    std::string objectPath;
    bool connected;
    int32_t dispatchTimeoutMs;

private:
    struct TPrivate;
    ZELTO_HIDDEN int ReadAnswer(const std::string& method, DBusMessage* answer, std::string& result);

    TPrivate* own;
};

#endif
