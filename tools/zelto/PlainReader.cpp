#include "LineReader.h"

#include <array>
#include <cstdio>

#include <poll.h>
#include <unistd.h>

namespace tool {

namespace {

class TPlainReader : public ILineReader {
public:
    explicit TPlainReader(const std::string& shownPrompt) : prompt(shownPrompt) {}

    TOutcome Read(const TStopSignal& stop, std::string& line) override {
        (void)std::fputs(prompt.c_str(), stderr); // nobody can be told when it fails
        line.clear();
        for (;;) {
            std::array<pollfd, 2> polled = {{{STDIN_FILENO, POLLIN, 0}, {stop.Fd(), POLLIN, 0}}};
            (void)poll(polled.data(), polled.size(), -1); // what can be read shows below
            if (stop.ExitCode() != 0) {
                return STOPPED;
            }
            char c = '\0';
            if (read(STDIN_FILENO, &c, 1) != 1) {
                return line.empty() ? END : LINE; // the last line may lack its end
            }
            if (c == '\n') {
                return LINE;
            }
            line += c;
        }
    }

private:
    const std::string prompt;
};

} // namespace

std::unique_ptr<ILineReader> NewPlainReader(const std::string& prompt) {
    return std::make_unique<TPlainReader>(prompt);
}

} // namespace tool
