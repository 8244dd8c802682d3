// sh, and complete, which the completion of bash calls.

#include "ChildLine.h"
#include "CommandLine.h"
#include "Completion.h"
#include "ExitCodes.h"
#include "LineReader.h"
#include "Output.h"
#include "Verbs.h"
#include "Words.h"

#include <csignal>
#include <memory>

#include <unistd.h>

namespace tool {

namespace {

constexpr int COMPLETION_MS = 3000;
constexpr const char* PROMPT = "zelto> ";

bool IsPath(const std::string& word) {
    return word.compare(0, 7, "Device.") == 0;
}

class TShell {
public:
    TShell(CLI::App& commandLine, const TGlobals& givenDefaults)
        : app(commandLine), defaults(givenDefaults), isTerminal(isatty(STDIN_FILENO) == 1) {}

    // Until the end of the input, `exit`, or a signal that is not for the line alone. Returns the exit code
    // of the last line.
    int Run();

private:
    std::unique_ptr<ILineReader> NewReader();
    bool RunNext(ILineReader& reader);
    void RunWords(const std::vector<std::string>& words);
    bool GoesOnAfterSignal();
    std::vector<std::string> CompleteLine(const std::string& line);

    CLI::App& app;
    const TGlobals defaults;
    const bool isTerminal;
    std::unique_ptr<TStopSignal> stop = std::make_unique<TStopSignal>();
    std::vector<std::string> seen; // paths
    int exitCode = EXIT_DONE;
};

std::unique_ptr<ILineReader> TShell::NewReader() {
    if (!isTerminal) {
        return NewPlainReader("");
    }
    auto editor = NewLineEditor(PROMPT, [this](const std::string& line) { return CompleteLine(line); });
    if (!editor) {
        PrintError("sh: built without libedit: no history and no completion");
        return NewPlainReader(PROMPT);
    }
    return editor;
}

int TShell::Run() {
    std::unique_ptr<ILineReader> reader = NewReader();
    while (RunNext(*reader)) {
    }
    return exitCode;
}

// False when it was the last one.
bool TShell::RunNext(ILineReader& reader) {
    std::string line;
    switch (reader.Read(*stop, line)) {
    case ILineReader::END:
        return false;
    case ILineReader::STOPPED:
        return GoesOnAfterSignal();
    default:
        break;
    }
    std::vector<std::string> words;
    if (!SplitWords(line, words)) {
        PrintError("sh: a quote is not closed: " + line);
        exitCode = EXIT_USAGE;
        return true;
    }
    if (words.empty()) {
        return true;
    }
    if (words.size() == 1 && (words[0] == "exit" || words[0] == "quit")) {
        return false;
    }
    RunWords(words);
    return stop->ExitCode() == 0 || GoesOnAfterSignal();
}

void TShell::RunWords(const std::vector<std::string>& words) {
    for (const std::string& word : words) {
        if (IsPath(word)) {
            seen.push_back(word.substr(0, word.find('=')));
        }
    }
    exitCode = RunInChild(stop, [this, &words] { return RunLine(words, defaults); });
}

// At a terminal SIGINT ends the line only.
bool TShell::GoesOnAfterSignal() {
    exitCode = stop->ExitCode();
    if (!isTerminal || exitCode != EXIT_SIGNAL_BASE + SIGINT) {
        return false;
    }
    stop.reset(); // there is one at a time
    stop = std::make_unique<TStopSignal>();
    return true;
}

std::vector<std::string> TShell::CompleteLine(const std::string& line) {
    std::vector<std::string> words;
    (void)SplitWords(line, words); // an open quote is a word like any other
    if (line.empty() || line.back() == ' ') {
        words.emplace_back();
    }
    auto print = [this, &words] {
        for (const std::string& candidate : Complete(app, defaults, words, seen)) {
            (void)WriteRaw((candidate + "\n").data(), candidate.size() + 1);
        }
        return int{EXIT_DONE};
    };
    return LinesOfChild(stop, print, COMPLETION_MS);
}

int RunComplete(CLI::App& app, const TGlobals& globals, const std::vector<std::string>& words) {
    for (const std::string& candidate : Complete(app, globals, words, {})) {
        std::string line = candidate + "\n";
        if (!WriteRaw(line.data(), line.size())) {
            return EXIT_RUN_TIME;
        }
    }
    return EXIT_DONE;
}

} // namespace

void AddShellVerbs(TVerb app, TContext& context) {
    TVerb shell = app.AddVerb("sh", "Read lines of verbs and arguments and run them");
    shell.OnChosen([app, &context] {
        context.takesIdentity = false; // each line does
        context.run = [app, &context] { return TShell(app.App(), context.globals).Run(); };
    });

    auto words = std::make_shared<std::vector<std::string>>();
    TVerb complete = app.AddVerb("complete", "Print what may stand at the end of a line");
    complete.Hide(); // for the completion of bash; people have no use for it
    complete.AddOption("WORD", *words, "The words so far; the last one may be empty");
    complete.OnChosen([app, &context, words] {
        context.run = [app, &context, words] { return RunComplete(app.App(), context.globals, *words); };
    });
}

} // namespace tool
