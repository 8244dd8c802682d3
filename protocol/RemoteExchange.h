// One request to a peer gateway and its answer, over a TCP connection of its own.
//
// On the wire the request is its text and nothing else. The answer is a 4-byte length of the JSON text, a
// 4-byte length of the blob (both in the byte order of the host: all gateways are little-endian), the text
// and the blob.
#ifndef ZELTO_PROTOCOL_REMOTE_EXCHANGE_H
#define ZELTO_PROTOCOL_REMOTE_EXCHANGE_H

#include <string>
#include <vector>

namespace zelto {

// Returns false when there is no connection, else true, whether or not all of the request was sent and
// whatever came back. Once both lengths have come and that of the text is 1 to 4096, `response` becomes what
// came of the text, and `*blob` gets the announced size, if that is 1 to 1048575, and what came of the data;
// else they stay as they were. A null `blob` reads none.
// Nothing but the connecting is limited in time. Failures are logged; the network never makes it throw.
bool ExchangeWithPeer(const std::string& request, const std::string& address, std::string& response,
                      std::vector<char>* blob);

} // namespace zelto

#endif
