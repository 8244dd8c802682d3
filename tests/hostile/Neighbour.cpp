// hostile_neighbour ATTACK VICTIM: attacks the owner of a name, or all parties, on the system bus until it is
// killed. Prints "attacking" after its first turn. A connection that the bus has thrown out is replaced.

#include "hostile/Attacks.h"

#include <cstdio>
#include <exception>
#include <stdexcept>

namespace {

void Attack(const std::string& name, const std::string& victim) {
    const hostile::TAttack attack = hostile::Attacks().at(name)(victim);
    for (unsigned turn = 0;; ++turn) {
        attack(turn);
        if (turn == 0) {
            (void)std::puts("attacking");
            (void)std::fflush(stdout);
        }
    }
}

void Repeat(const std::string& name, const std::string& victim) {
    while (true) {
        try {
            Attack(name, victim);
        } catch (const hostile::TThrownOut&) {
            // comes again
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        (void)std::fprintf(stderr, "usage: hostile_neighbour ATTACK VICTIM\n");
        return 2;
    }
    try {
        Repeat(argv[1], argv[2]);
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "hostile_neighbour: %s\n", error.what());
    }
    return 1;
}
