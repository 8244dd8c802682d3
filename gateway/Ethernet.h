// Device.Ethernet.Interface.{i}.: the network interfaces that were there when the manager started.
#ifndef GATEWAY_ETHERNET_H
#define GATEWAY_ETHERNET_H

#include "Model.h"

namespace gateway {

// The kernel's numbers of the interfaces served, in the order in which applications number them from 1.
const TIndices& ServedInterfaces();

} // namespace gateway

#endif
