// A peer gateway that answers every remote request with what it was told to, on a loopback address of its own
// (the port is fixed).
#ifndef ZELTO_TESTS_CANNED_PEER_H
#define ZELTO_TESTS_CANNED_PEER_H

#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace capi {

class TCannedPeer {
public:
    TCannedPeer();
    ~TCannedPeer();
    TCannedPeer(const TCannedPeer&) = delete;
    TCannedPeer& operator=(const TCannedPeer&) = delete;

    const std::string& Address() const { return address; }
    void AnswerWith(const std::string& json, const std::string& blob = "");
    // Announces a blob of the size, sends what there is of it, and closes.
    void AnswerWithPart(const std::string& json, const std::string& blob, std::size_t announced);
    std::vector<std::string> Requests() const;

private:
    void Serve();
    void Exchange(int connection);

    std::string address;
    int listener;
    int stopPipe[2] = {-1, -1};
    mutable std::mutex mutex;
    std::string frame;
    std::vector<std::string> requests;
    std::thread thread;
};

} // namespace capi

#endif
