// The hidden state of the C interface: the singletons that its calls are adapters onto, fetched once when the
// library is loaded.
#ifndef ZELTO_APP_C_API_STATE_H
#define ZELTO_APP_C_API_STATE_H

#include "zelto/TZeltoApplication.h"
#include "zelto/TZeltoIpc.h"

namespace zelto {

TZeltoIpc& CApiIpc();
TZeltoApplication& CApiApplication();

} // namespace zelto

#endif
