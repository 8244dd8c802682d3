#include "support/BusEnvironment.h"

namespace support {

namespace {

std::unique_ptr<TPrivateBus>& Holder() {
    static std::unique_ptr<TPrivateBus> bus;
    return bus;
}

} // namespace

bool TBusEnvironment::Register() {
    return testing::AddGlobalTestEnvironment(new TBusEnvironment) != nullptr; // which takes it over
}

TPrivateBus& TBusEnvironment::Bus() {
    return *Holder();
}

void TBusEnvironment::SetUp() {
    Holder() = std::make_unique<TPrivateBus>();
}

void TBusEnvironment::TearDown() {
    Holder().reset();
}

} // namespace support
