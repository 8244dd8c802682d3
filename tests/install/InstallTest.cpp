// The tree that "cmake --install" makes: its files, and programs that are built against it.
#include "support/BusEnvironment.h"
#include "support/ChildProcess.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

namespace {

namespace fs = std::filesystem;

using support::TChildProcess;
using support::TRunResult;
using support::TTempDir;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::Pair;

const bool BUS_READY = support::TBusEnvironment::Register();

constexpr char LIB[] = INSTALL_LIBDIR;
constexpr char VERSION[] = PROJECT_VERSION;
constexpr std::chrono::minutes BUILD_TIME{3};
constexpr char GET_SET_OUTPUT[] = "Device.WiFi.SSID.1.SSID = home\nDevice.WiFi.SSID.1.SSID = example\n";

std::string Lib(const std::string& name) {
    return std::string(LIB) + "/" + name;
}

std::set<std::string> FilesBelow(const fs::path& root) {
    std::set<std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        if (!entry.is_directory()) {
            files.insert(entry.path().lexically_relative(root));
        }
    }
    return files;
}

std::string ReadFile(const fs::path& path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

bool IsElf(const std::string& content) {
    return content.compare(0, 4, "\177ELF") == 0;
}

// Everything is installed once, by component and as a whole, under another prefix than the configured one.
class Install : public testing::Test {
protected:
    static void SetUpTestSuite() {
        directory = std::make_unique<TTempDir>();
        for (const std::string component : {"runtime", "dev", "tools"}) {
            const std::string prefix = directory->File(component);
            const TRunResult result =
                Run({"cmake", "--install", BUILD_DIR, "--component", component, "--prefix", prefix});
            ASSERT_EQ(result.exitCode, 0) << result.output << result.errors;
            fs::copy(prefix, directory->File("tree"),
                     fs::copy_options::recursive | fs::copy_options::copy_symlinks);
        }
    }

    static void TearDownTestSuite() { directory.reset(); }

    static std::string Tree() { return directory->File("tree"); }
    static std::string Examples() { return Tree() + "/share/doc/libzelto/examples"; }
    static std::set<std::string> FilesOf(const std::string& component) {
        return FilesBelow(directory->File(component));
    }

    // pkg-config finds only what is in the tree, unless "all": a host without the headers of libdbus.
    static TRunResult Run(const std::vector<std::string>& command, bool all = false) {
        TChildProcess::TOptions options;
        const char* const variable = all ? "PKG_CONFIG_PATH" : "PKG_CONFIG_LIBDIR";
        options.environment = {{variable, Tree() + "/" + Lib("pkgconfig")}};
        return support::RunProgram(command, options, BUILD_TIME);
    }

    static void Configure(const std::string& project, const std::string& build,
                          const std::vector<std::string>& settings, TRunResult& result, bool all = false) {
        std::vector<std::string> command = {"cmake",
                                            "-G",
                                            GENERATOR,
                                            "-S",
                                            SOURCE_DIR "/" + project,
                                            "-B",
                                            build,
                                            "-DCMAKE_PREFIX_PATH=" + Tree(),
                                            "-DEXAMPLES=" + Examples()};
        command.insert(command.end(), settings.begin(), settings.end());
        result = Run(command, all);
    }

    // Gives the directory with the programs.
    static std::string BuildWithCMake(const std::string& project) {
        const std::string build = directory->File(project);
        TRunResult result{};
        Configure(project, build, {}, result);
        EXPECT_EQ(result.exitCode, 0) << result.output << result.errors;
        result = Run({"cmake", "--build", build});
        EXPECT_EQ(result.exitCode, 0) << result.output << result.errors;
        return build;
    }

    // Gives the program.
    static std::string BuildWithPkgConfig(const std::string& compiler, const std::string& source) {
        const std::string program = directory->File(fs::path(source).filename().string() + ".pkg-config");
        const TRunResult result = Run({"sh", "-c",
                                       compiler + " " + Examples() + "/" + source + " -o " + program +
                                           " $(pkg-config --cflags --libs zelto)"});
        EXPECT_EQ(result.exitCode, 0) << result.output << result.errors;
        return program;
    }

    // Runs the example that reads and writes against the example manager.
    static std::string OutputAgainst(const std::string& manager, const std::string& program) {
        TChildProcess::TOptions options;
        options.environment = {{"LD_LIBRARY_PATH", Tree() + "/" + LIB}};
        TChildProcess running({manager}, options);
        EXPECT_TRUE(running.WaitForErrors("Serving")) << running.Errors();
        const TRunResult result = support::RunProgram({program}, options);
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        return result.output;
    }

    static std::unique_ptr<TTempDir> directory;
};

std::unique_ptr<TTempDir> Install::directory;

TEST_F(Install, GivesRuntimeTheLibraryAndTheBusPolicyOnly) {
    EXPECT_THAT(FilesOf("runtime"),
                ElementsAre(Lib("libzelto.so.1"), Lib(std::string("libzelto.so.") + VERSION),
                            "share/dbus-1/system.d/com.Ulmet.Zelto.conf"));
}

TEST_F(Install, GivesDevWhatProgramsAreBuiltWith) {
    std::set<std::string> expected = {Lib("libzelto.so"),
                                      Lib("libqv_logging.so.1"),
                                      Lib("cmake/zelto/zeltoConfig.cmake"),
                                      Lib("pkgconfig/zelto.pc"),
                                      Lib("pkgconfig/zelto-dbus.pc"),
                                      "share/doc/libzelto/README.md",
                                      "share/doc/libzelto/examples/c/get_set.c"};
    for (const std::string& header : FilesBelow(SOURCE_DIR "/../../include")) {
        expected.insert("include/" + header);
    }
    const std::set<std::string> files = FilesOf("dev");
    EXPECT_THAT(files, IsSupersetOf(expected));
    EXPECT_EQ(files.count(Lib("libqv_logging.so")), 0U);
    EXPECT_EQ(files.count(Lib("libzelto.so.1")), 0U);
}

TEST_F(Install, GivesToolsThePrograms) {
    EXPECT_THAT(FilesOf("tools"),
                ElementsAre("bin/zelto", "bin/zelto-gateway", "bin/zelto-remoted",
                            "share/bash-completion/completions/zelto", "share/man/man1/zelto.1"));
}

// The paths that the loader searches for what the file needs.
std::vector<std::string> SearchPaths(const std::string& dynamicSection) {
    static const std::regex line(R"(\((?:RPATH|RUNPATH)\).*\[(.*)\])");
    std::vector<std::string> paths;
    for (std::sregex_iterator it(dynamicSection.begin(), dynamicSection.end(), line), end; it != end; ++it) {
        paths.push_back((*it)[1]);
    }
    return paths;
}

TEST_F(Install, LooksForLibrariesOnlyInItself) {
    std::map<std::string, std::vector<std::string>> paths;
    for (const std::string& file : FilesBelow(Tree())) {
        const std::string path = Tree() + "/" + file;
        if (!fs::is_symlink(path) && IsElf(ReadFile(path))) {
            paths[file] = SearchPaths(Run({"readelf", "-dW", path}).output);
        }
    }
    const std::vector<std::string> programPaths = {std::string("$ORIGIN/../") + LIB};
    EXPECT_THAT(paths, ElementsAre(Pair("bin/zelto", programPaths), Pair("bin/zelto-gateway", programPaths),
                                   Pair("bin/zelto-remoted", programPaths),
                                   Pair(HasSubstr("libqv_logging"), IsEmpty()),
                                   Pair(HasSubstr("libzelto"), ElementsAre("$ORIGIN"))));
}

TEST_F(Install, NamesNoDirectoryOfTheBuildInItsTexts) {
    for (const std::string& file : FilesBelow(Tree())) {
        const std::string content = ReadFile(Tree() + "/" + file);
        if (!IsElf(content)) {
            EXPECT_THAT(content, AllOf(Not(HasSubstr(BUILD_DIR)), Not(HasSubstr(directory->Path())))) << file;
        }
    }
}

TEST_F(Install, ProgramsRunFromTheTree) {
    EXPECT_EQ(Run({Tree() + "/bin/zelto", "--version"}).output, std::string("zelto ") + VERSION + "\n");
    EXPECT_EQ(Run({Tree() + "/bin/zelto-gateway", "--version"}).output,
              std::string("zelto-gateway ") + VERSION + "\n");
    EXPECT_EQ(Run({Tree() + "/bin/zelto-remoted", "--version"}).output,
              std::string("zelto-remoted ") + VERSION + "\n");
}

TEST_F(Install, ServesAProjectInCByItsCMakePackage) {
    const std::string build = BuildWithCMake("consumer_c");
    EXPECT_EQ(OutputAgainst(build + "/manager", build + "/get_set"), GET_SET_OUTPUT);
}

TEST_F(Install, ServesAProjectInCppByItsCMakePackage) {
    const std::string manager = BuildWithPkgConfig("cc -std=c99", "manager/manager.c");
    const std::string build = BuildWithCMake("consumer_cpp");
    EXPECT_EQ(OutputAgainst(manager, build + "/get_set"), GET_SET_OUTPUT);
}

TEST_F(Install, ServesProgramsInCAndCppByPkgConfig) {
    const std::string manager = BuildWithPkgConfig("cc -std=c99", "manager/manager.c");
    const std::string inC = BuildWithPkgConfig("cc -std=c99", "c/get_set.c");
    const std::string inCpp = BuildWithPkgConfig("c++ -std=c++11", "cpp/get_set.cpp");
    EXPECT_EQ(OutputAgainst(manager, inC), GET_SET_OUTPUT);
    EXPECT_EQ(OutputAgainst(manager, inCpp), GET_SET_OUTPUT);
}

TEST_F(Install, NeedsLibdbusOnlyForItsOwnComponent) {
    const std::string build = directory->File("with_dbus");
    TRunResult result{};
    Configure("consumer_cpp", build, {"-DWITH_DBUS=ON"}, result);
    EXPECT_NE(result.exitCode, 0);
    EXPECT_THAT(result.errors, HasSubstr("the headers of libdbus"));
    Configure("consumer_cpp", build, {"-DWITH_DBUS=ON"}, result, true);
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    result = Run({"cmake", "--build", build}, true);
    EXPECT_EQ(result.exitCode, 0) << result.output << result.errors;
    EXPECT_EQ(Run({build + "/own_transport"}).output, "com.Ulmet.Zelto.Zelto\n");
    EXPECT_NE(Run({"pkg-config", "--cflags", "zelto-dbus"}).exitCode, 0);
    EXPECT_THAT(Run({"pkg-config", "--cflags", "zelto-dbus"}, true).output, HasSubstr("dbus-1.0"));
}

TEST_F(Install, TellsItsVersion) {
    EXPECT_EQ(Run({"pkg-config", "--modversion", "zelto"}).output, std::string(VERSION) + "\n");
    EXPECT_NE(Run({"pkg-config", "--exists", "zelto >= 2"}).exitCode, 0);
    EXPECT_THAT(ReadFile(Tree() + "/" + Lib("cmake/zelto/zeltoConfigVersion.cmake")),
                HasSubstr(std::string("set(PACKAGE_VERSION \"") + VERSION + "\")"));
}

} // namespace
