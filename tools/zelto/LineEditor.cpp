#include "LineReader.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <clocale>
#include <cstdio>
#include <cwchar>

#include <histedit.h>
#include <poll.h>
#include <unistd.h>

namespace tool {

namespace {

constexpr int KEPT_LINES = 1000;

struct TEditLineDeleter {
    void operator()(EditLine* editLine) const { el_end(editLine); }
};
struct THistoryDeleter {
    void operator()(History* lines) const { history_end(lines); }
};

size_t CommonLength(const std::vector<std::string>& words) {
    size_t length = words[0].size();
    for (const std::string& word : words) {
        auto differs = std::mismatch(word.begin(), word.end(), words[0].begin(), words[0].end()).first;
        length = std::min(length, static_cast<size_t>(differs - word.begin()));
    }
    return length;
}

// What ends so goes on.
bool IsWhole(const std::string& word) {
    return word.back() != '.' && word.back() != '=';
}

class TLineEditor : public ILineReader {
public:
    TLineEditor(const std::string& shownPrompt, const TCompleter& completer);

    TOutcome Read(const TStopSignal& stop, std::string& line) override;

private:
    static TLineEditor& Of(EditLine* editLine);
    static char* Prompt(EditLine* editLine);
    static int ReadCharacter(EditLine* editLine, wchar_t* character);
    static unsigned char CompleteWord(EditLine* editLine, int key);
    bool WaitForInput() const;
    unsigned char InsertOrList(const std::string& word, const std::vector<std::string>& candidates);

    std::string prompt;
    const TCompleter complete;
    const TStopSignal* stopSignal = nullptr; // while a line is read
    std::unique_ptr<History, THistoryDeleter> history;
    std::unique_ptr<EditLine, TEditLineDeleter> editor;
};

TLineEditor::TLineEditor(const std::string& shownPrompt, const TCompleter& completer)
    : prompt(shownPrompt), complete(completer), history(history_init()) {
    (void)std::setlocale(LC_CTYPE, "C.UTF-8"); // the texts of the protocol are; without it ASCII is left
    // What is printed may go elsewhere, so the editor shows itself on standard error.
    editor.reset(el_init("zelto", stdin, stderr, stderr));
    HistEvent event;
    (void)::history(history.get(), &event, H_SETSIZE, KEPT_LINES); // fails only without memory, as the rest
    (void)::history(history.get(), &event, H_SETUNIQUE, 1);
    (void)el_set(editor.get(), EL_CLIENTDATA, this);
    (void)el_set(editor.get(), EL_PROMPT, Prompt);
    (void)el_set(editor.get(), EL_EDITOR, "emacs");
    (void)el_set(editor.get(), EL_HIST, ::history, history.get());
    (void)el_set(editor.get(), EL_GETCFN, ReadCharacter);
    // Of narrow texts libedit makes copies that it never frees.
    (void)el_wset(editor.get(), EL_ADDFN, L"complete-word", L"Complete the word", CompleteWord);
    (void)el_set(editor.get(), EL_BIND, "^I", "complete-word", nullptr);
    (void)el_set(editor.get(), EL_BIND, "^R", "em-inc-search-prev", nullptr);
}

TLineEditor& TLineEditor::Of(EditLine* editLine) {
    void* editor = nullptr;
    (void)el_get(editLine, EL_CLIENTDATA, &editor); // set above
    return *static_cast<TLineEditor*>(editor);
}

char* TLineEditor::Prompt(EditLine* editLine) {
    return Of(editLine).prompt.data();
}

bool TLineEditor::WaitForInput() const {
    std::array<pollfd, 2> polled = {{{STDIN_FILENO, POLLIN, 0}, {stopSignal->Fd(), POLLIN, 0}}};
    (void)poll(polled.data(), polled.size(), -1); // what can be read shows afterwards
    return stopSignal->ExitCode() == 0;
}

// As libedit asks for it: 1 for a character, 0 at the end, -1 to give up.
int TLineEditor::ReadCharacter(EditLine* editLine, wchar_t* character) {
    std::mbstate_t state = {};
    for (;;) {
        if (!Of(editLine).WaitForInput()) {
            return -1;
        }
        char byte = '\0';
        if (read(STDIN_FILENO, &byte, 1) != 1) {
            return 0;
        }
        size_t length = std::mbrtowc(character, &byte, 1, &state);
        if (length == 0 || length == 1) {
            return 1;
        }
        if (length == static_cast<size_t>(-1)) {
            state = {}; // not a character: passed over
        }
    }
}

unsigned char TLineEditor::CompleteWord(EditLine* editLine, int) {
    const LineInfo* line = el_line(editLine);
    std::string before(line->buffer, line->cursor);
    auto blank =
        std::find_if(before.rbegin(), before.rend(), [](unsigned char c) { return std::isspace(c) != 0; });
    TLineEditor& self = Of(editLine);
    return self.InsertOrList(std::string(blank.base(), before.end()), self.complete(before));
}

unsigned char TLineEditor::InsertOrList(const std::string& word, const std::vector<std::string>& candidates) {
    if (candidates.empty()) {
        return CC_REFRESH_BEEP;
    }
    std::string rest = candidates[0].substr(0, CommonLength(candidates)).substr(word.size());
    if (candidates.size() == 1 && IsWhole(candidates[0])) {
        rest += ' ';
    }
    if (!rest.empty()) {
        return el_insertstr(editor.get(), rest.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
    }
    if (candidates.size() == 1) {
        return CC_REFRESH_BEEP;
    }
    (void)std::fputc('\n', stderr);
    for (const std::string& candidate : candidates) {
        (void)std::fprintf(stderr, "%s\n", candidate.c_str());
    }
    return CC_REDISPLAY;
}

ILineReader::TOutcome TLineEditor::Read(const TStopSignal& stop, std::string& line) {
    stopSignal = &stop;
    int length = 0;
    // el_gets does so only behind the prompt: an end of input that is typed at once would be none.
    (void)el_set(editor.get(), EL_PREP_TERM, 1);
    const char* text = el_gets(editor.get(), &length);
    if (stop.ExitCode() != 0 || text == nullptr || length <= 0) {
        (void)std::fputc('\n', stderr); // leaves the line of the prompt
        return stop.ExitCode() != 0 ? STOPPED : END;
    }
    line.assign(text, static_cast<size_t>(length));
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) {
        line.pop_back();
    }
    if (line.find_first_not_of(" \t") != std::string::npos) {
        HistEvent event;
        (void)::history(history.get(), &event, H_ENTER, line.c_str()); // a line less to go back to at worst
    }
    return LINE;
}

} // namespace

std::unique_ptr<ILineReader> NewLineEditor(const std::string& prompt, const TCompleter& complete) {
    return std::make_unique<TLineEditor>(prompt, complete);
}

} // namespace tool
