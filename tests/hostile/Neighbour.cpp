// hostile_neighbour ATTACK VICTIM (flat-out | paced): attacks the owner of a name, or all parties, on the
// system bus until it is killed. Prints "attacking" after its first turn. When paced it waits after each turn
// until the victim has worked it off, so that it is never ahead of a slow machine. A connection that the bus
// has thrown out is replaced.

#include "hostile/Attacks.h"

#include <chrono>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

// An answer means that the victim has dealt with all that was sent before.
void WaitForVictim(const hostile::TNeighbour& neighbour, const std::string& victim) {
    constexpr int LONGEST_MS = 10000;
    const hostile::TMessage call(dbus_message_new_method_call(victim.c_str(), hostile::MANAGER_PATH,
                                                              hostile::INTERFACE, "NO_SUCH_METHOD"));
    const hostile::TMessage answer(
        dbus_connection_send_with_reply_and_block(neighbour.Get(), call.get(), LONGEST_MS, nullptr));
    std::this_thread::sleep_for(std::chrono::milliseconds(1)); // a turn for the others
}

void Attack(const std::string& name, const std::string& victim, bool isPaced) {
    const hostile::TNeighbour pacer;
    const hostile::TAttack attack = hostile::Attacks().at(name)(victim);
    for (unsigned turn = 0;; ++turn) {
        attack(turn);
        if (turn == 0) {
            (void)std::puts("attacking");
            (void)std::fflush(stdout);
        }
        if (isPaced) {
            WaitForVictim(pacer, victim);
        }
    }
}

void Repeat(const std::string& name, const std::string& victim, bool isPaced) {
    while (true) {
        try {
            Attack(name, victim, isPaced);
        } catch (const hostile::TThrownOut&) {
            // comes again
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        (void)std::fprintf(stderr, "usage: hostile_neighbour ATTACK VICTIM (flat-out | paced)\n");
        return 2;
    }
    try {
        Repeat(argv[1], argv[2], std::string(argv[3]) == "paced");
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "hostile_neighbour: %s\n", error.what());
    }
    return 1;
}
