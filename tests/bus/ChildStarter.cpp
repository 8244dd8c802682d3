// Starts a child, prints its process number and waits to be killed.

#include "support/ChildProcess.h"

#include <iostream>

int main() {
    support::TChildProcess child({"cat"});
    std::cout << child.Pid() << std::endl;
    return child.WaitForExit(std::chrono::minutes(1)).value_or(1);
}
