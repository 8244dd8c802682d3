// Makes a transport of its own, whose class only TZeltoDBus.h shows.
#include <zelto/TZeltoDBus.h>

#include <iostream>

namespace {

class TTransport : public TZeltoDBus {
public:
    const std::string& Interface() const { return interfaceName; }
};

} // namespace

int main() {
    std::cout << TTransport().Interface() << std::endl;
    return 0;
}
