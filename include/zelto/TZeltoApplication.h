// The object through which an application talks to the manager.
//
//     TZeltoApplication& app = TZeltoApplication::GetInstance();
//     app.Initialize("MY_APPLICATION"); // its name on the bus
//     std::string ssid;
//     if (app.GetParam("Device.WiFi.SSID.1.SSID", ssid) != 0) {
//         return 1;
//     }
//
// Requests block the calling thread until the manager has answered or the time-out has passed. They may be
// made on several threads at once, and from observers, once the first Initialize has returned. They return 0
// on success, -1 when the manager refused, did not answer or is not there, and 3 when the request could not
// be sent (the reason is in the log). Unless stated otherwise, outputs are written on success only.
#ifndef ZELTO_APPLICATION_H
#define ZELTO_APPLICATION_H

#include "zelto/Export.h"
#include "zelto/TZeltoIpc.h"
#include "zelto/ZeltoLocking.h"
#include "zelto/ZeltoObservers.h"
#include "zelto/ZeltoTypes.h"

#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

class TZeltoDataMapper;
class TZeltoIpcObserver;
class TZeltoJsonObject;

class ZELTO_API TZeltoApplication : public IZeltoIpcMethodHandler {
public:
    struct TZeltoAppParam {
        std::string name;  // full path, such as "Device.WiFi.SSID.1.SSID"
        std::string value; // as text; "" when unknown or not wanted
    };

    // The one instance, created on the first call and destroyed at exit.
    static TZeltoApplication& GetInstance();

    // The order of virtual functions is binary interface.

    // Answers the other parties' "IS_APP_ACTIVE": 0, and -1 for any other method. Never touches `output`.
    int OnMethodCall(const std::string& method, const std::string& input, std::string& output) override;
    ~TZeltoApplication() override;

    // Connects the application to the bus under an identity and starts to receive events. Does nothing once
    // it has succeeded. A failure is logged; then a later call tries again. A number without a text gives the
    // empty identity, which is a success for good: the application has no name on the bus. Any thread; from
    // an observer only once it has succeeded.
    void Initialize(const std::string& busName);
    void Initialize(tZeltoClientId clientId);

    // Asks a party whether it runs; it has one second to answer. Returns 0 and true, or -1 and false. An
    // identifier without a text gives -1 and leaves `isActive` as it was, as does the result 3.
    int IsAppActive(tZeltoClientId clientId, bool& isActive);

    // An observer is registered once however often it is added. It is not owned. Any thread, observers
    // included.
    void AddCpeClientStateObserver(IZeltoCpeClientStateObserver* observer);
    void RemoveCpeClientStateObserver(IZeltoCpeClientStateObserver* observer);
    void NotifyCpeClientStateObservers(IZeltoCpeClientStateObserver::TZeltoCpeClientState state,
                                       const std::string& macAddress, const std::string& hostName);
    void AddDataModelChangeObserver(IZeltoDataModelChangeObserver* observer);
    void RemoveDataModelChangeObserver(IZeltoDataModelChangeObserver* observer);
    void NotifyDataModelChangeObservers(const std::string& name, const std::string& value);
    void AddAppStateChangeObserver(IZeltoAppStateObserver* observer);
    void RemoveAppStateChangeObserver(IZeltoAppStateObserver* observer);
    void NotifyAppStateChangeObservers(IZeltoAppStateObserver::TZeltoAppState state,
                                       const std::string& appName);

    // Reads one parameter, or with one "*" in place of an instance number one for each instance. Instance
    // numbers before the "*" are taken for the platform's. `params` is replaced.
    int GetParam(const std::string& name, std::vector<TZeltoAppParam>& params);
    // Reads the first parameter of that. `value` stays as it was when the manager returns none.
    int GetParam(const std::string& name, std::string& value);
    // The same answer as an array under "PARAMS" of `result`, whose other keys are kept.
    int GetParam(const std::string& name, TZeltoJsonObject& result);
    int SetParam(const std::string& name, const std::string& value, bool commit);
    // Reads the parameters that `params` names; the list is replaced by the answer.
    int GetParamArray(std::vector<TZeltoAppParam>& params);
    // The same, sorted by requested name: results[i] gets the pairs whose name matches names[i], the first
    // match counting. Existing pairs in results[i] are kept.
    int GetParamArray(const std::vector<std::string>& names,
                      std::vector<std::vector<std::pair<std::string, std::string>>>& results);
    // Writes the parameters in order and stops at the first that fails; those before it stay written. An
    // empty list gives -1. The manager does not look at `commit` here: it acts as for false.
    int SetParamArray(const std::vector<TZeltoAppParam>& params, bool commit);
    // Replaces `params` by the entries under "PARAMS" of an answer.
    void PopulateParamArray(const TZeltoJsonObject& response, std::vector<TZeltoAppParam>& params);
    // Sets "PARAMS" of `json` to the entries of `params`, or to null when there are none. Throws
    // std::runtime_error when a text is not UTF-8, naming the parameter (up to there when it is the name);
    // `json` is then as it was.
    void ParamArrayToJson(const std::vector<TZeltoAppParam>& params, TZeltoJsonObject& json);

    // Adds an instance to a table such as "Device.WiFi.AccessPoint."; `instanceId` receives its number.
    int AddObject(const std::string& object, int& instanceId);
    // Deletes an instance such as "Device.WiFi.AccessPoint.3.".
    int RemoveObject(const std::string& object);
    // Replaces `ids` by the instance numbers of a table.
    int GetObjectIds(const std::string& object, std::vector<int>& ids);
    // Reads the parameters of `root` that `params` names (full paths); the list is replaced by the answer.
    int GetObject(const std::string& root, std::vector<TZeltoAppParam>& params);
    // Writes parameters of `root` (full paths): one call of the manager's handler gets them all, also when
    // the list is empty, and succeeds or fails as a whole. Of each name and value the handler gets at most
    // the first 255 bytes, whole characters, which is no failure; it does not get `commit`.
    int SetObject(const std::string& root, const std::vector<TZeltoAppParam>& params, bool commit);

    // The pairs (number seen by applications, number used by the platform) of every table that has its own
    // numbering. Entries of tables that the answer does not mention stay in `indexMap`.
    int GetIndexMap(std::unordered_map<std::string, std::vector<std::pair<int, int>>>& indexMap);

    // Requests to a peer gateway over TCP port 42042. They need no Initialize. `address` is a numeric IP
    // address (an IPv6 one is refused when connecting). Return 0, or -1 on any failure. Unlike the others
    // they throw std::runtime_error when a text is not UTF-8. After the connection is made they wait for the
    // peer without a limit.
    int SetParamRemote(const std::string& address, const std::string& name, const std::string& value,
                       bool commit);
    int GetParamRemote(const std::string& address, const std::string& name,
                       std::vector<TZeltoAppParam>& params);
    // `fileData` is replaced by the file, at most 1048575 bytes; an empty file leaves it as it was, as does
    // one that the peer announces as larger. A peer that sends data with a failure replaces it as well. 0
    // does not mean that the file is whole: when the peer closes early, the end is what `fileData` held
    // there, or zeros where it grew.
    int GetFileRemote(const std::string& address, const std::string& fileName, std::vector<char>& fileData);
    // One exchange: sends a JSON text, receives one and, into `blob` unless null, the data behind it. Returns
    // whether there was a connection, not whether all of the request was sent. When both lengths in front of
    // the answer have come and that of the text is 1 to 4096, `response` becomes the text as far as it came,
    // maybe "", and `*blob` gets the size announced for it if that is 1 to 1048575; what does not come of the
    // data stays as it was there, or zeros. Else they are untouched.
    bool PerformRemoteRequest(const std::string& request, const std::string& address, std::string& response,
                              std::vector<char>* blob);

private:
    TZeltoApplication();
    TZeltoApplication(const TZeltoApplication&) = delete;
    TZeltoApplication& operator=(const TZeltoApplication&) = delete;

    // The order of members is binary interface.
    bool initialized;
    TZeltoIpc* ipc;
    TZeltoIpcObserver* ipcObserver;
    TZeltoDataMapper* dataMapper;
    TZeltoRecursiveMutex observersMutex;
    std::set<IZeltoCpeClientStateObserver*> cpeClientStateObservers ZELTO_GUARDED_BY(observersMutex);
    std::set<IZeltoDataModelChangeObserver*> dataModelChangeObservers ZELTO_GUARDED_BY(observersMutex);
    std::set<IZeltoAppStateObserver*> appStateObservers ZELTO_GUARDED_BY(observersMutex);
};

#endif
