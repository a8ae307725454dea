// The file under a trace: appended to, rotated, torn, full, gone.

#include "reader_libraries/trace/trace_file.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

#include "reader_libraries/trace/settings.hpp"
#include "tests/support/temporary_directory.hpp"

namespace quorrin::trace {
namespace {

std::string content(const std::string& name) {
    std::ifstream stream(name, std::ios::binary);
    return stream ? std::string{std::istreambuf_iterator<char>(stream), {}} : "(none)";
}

std::string path_of(const char* name) {
    return std::filesystem::current_path() / name;
}

class TraceFileTest : public testing::Test {
  protected:
    // What goes to standard error meanwhile.
    template <typename Work>
    static std::string complaints(Work&& work) {
        testing::internal::CaptureStderr();
        work();
        return testing::internal::GetCapturedStderr();
    }
    test::TemporaryDirectory directory_;
};

TEST_F(TraceFileTest, AppendsLines) {
    directory_.write("t", "old\n");
    TraceFile file;
    file.open({.path = "t"});
    file.append("one\n");
    EXPECT_EQ(content("t"), "old\none\n");
    file.append("two\n");
    EXPECT_EQ(content("t"), "old\none\ntwo\n");
}

TEST_F(TraceFileTest, IsReadableByItsOwnerOnly) {
    TraceFile file;
    file.open({.path = "t"});
    EXPECT_EQ(std::filesystem::status("t").permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(TraceFileTest, StartsALineOfItsOwnBehindATornOne) {
    directory_.write("t", "whole\ntor");
    TraceFile file;
    file.open({.path = "t"});
    file.append("one\n");
    file.append("two\n");
    EXPECT_EQ(content("t"), "whole\ntor\none\ntwo\n");
}

TEST_F(TraceFileTest, SharesAFile) {
    TraceFile first;
    TraceFile second;
    first.open({.path = "t"});
    second.open({.path = "t"});
    first.append("one\n");
    second.append("two\n");
    first.append("three\n");
    EXPECT_EQ(content("t"), "one\ntwo\nthree\n");
}

TEST_F(TraceFileTest, SaysOnceThatTheFileCannotBeOpened) {
    const std::string said = complaints([] {
        TraceFile file;
        for (int i = 0; i < 3; ++i) {
            file.open({.path = "no/such/folder"});
            file.append("one\n");
        }
    });
    EXPECT_EQ(said,
              "libquorrin-trace: no/such/folder: the trace cannot be written: No such file or "
              "directory\n");
    EXPECT_EQ(complaints([] {
                  TraceFile file;
                  file.open({.path = "."});
                  file.append("one\n");
              }),
              "libquorrin-trace: .: the trace cannot be written: Is a directory\n");
}

TEST_F(TraceFileTest, SaysOnceThatTheDiskIsFull) {
    const std::string said = complaints([] {
        TraceFile file;
        file.open({.path = "/dev/full"});
        file.append("one\n");
        file.append("two\n");
    });
    EXPECT_EQ(
        said,
        "libquorrin-trace: /dev/full: lines of the trace are lost: No space left on device\n");
}

TEST_F(TraceFileTest, GoesOnWhenThereIsSpaceAgain) {
    // The limit of a file's size stands for the disk: its signal would end the process.
    const std::string path = path_of("t");
    const pid_t child = fork();
    if (child == 0) {
        rlimit limit{};
        getrlimit(RLIMIT_FSIZE, &limit);
        limit.rlim_cur = 10;
        setrlimit(RLIMIT_FSIZE, &limit);
        close(STDERR_FILENO);
        TraceFile file;
        file.open({.path = path});
        file.append("line 1\n");
        file.append("line 2\n");  // three bytes of it fit
        file.append("line 3\n");
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_FSIZE, &limit);
        file.append("line 4\n");
        file.append("line 5\n");
        _exit(0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(content("t"), "line 1\nlin\nline 4\nline 5\n");
}

TEST_F(TraceFileTest, NeverWaitsForAPipe) {
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    EXPECT_EQ(complaints([] {
                  TraceFile file;
                  file.open({.path = "pipe"});
                  file.append("one\n");
              }),
              "libquorrin-trace: pipe: the trace cannot be written: No such device or address\n");
    const int reader = open("pipe", O_RDONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    const std::string said = complaints([reader] {
        TraceFile file;
        file.open({.path = "pipe"});
        file.append("one\n");
        char text[8] = {};
        EXPECT_EQ(read(reader, text, sizeof text), 4);
        EXPECT_STREQ(text, "one\n");
        const std::string much(4096, 'x');
        for (int i = 0; i < 100; ++i) {
            file.append(much);  // nobody reads
        }
        close(reader);
        file.append("two\n");  // its signal would end the process
    });
    EXPECT_EQ(
        said,
        "libquorrin-trace: pipe: lines of the trace are lost: Resource temporarily unavailable\n");
}

TEST_F(TraceFileTest, WritesIntoNoFileOfTheHosts) {
    TraceFile file;
    file.open({.path = "t"});
    file.append("one\n");
    // What a host does that becomes a daemon: it closes all files, and opens its own.
    for (int number = 3; number < 64; ++number) {
        close(number);
    }
    const int hosts = open("host", O_WRONLY | O_CREAT, 0600);
    ASSERT_EQ(hosts, 3);
    while (open("host", O_WRONLY) < 63) {
    }
    file.append("two\n");
    EXPECT_EQ(content("t"), "one\ntwo\n");
    EXPECT_EQ(content("host"), "");
    for (int number = 3; number < 64; ++number) {
        close(number);
    }
}

TEST_F(TraceFileTest, RotatesBySize) {
    TraceFile file;
    file.open({.path = "t", .rotate_at = 12, .kept = 2});
    for (const char* line : {"line 1\n", "2\n", "3\n", "line 4\n", "line 5\n", "line 6\n"}) {
        file.append(line);
    }
    EXPECT_EQ(content("t"), "line 6\n");
    EXPECT_EQ(content("t.1"), "line 5\n");
    EXPECT_EQ(content("t.2"), "line 4\n");
    EXPECT_EQ(content("t.3"), "(none)");
}

TEST_F(TraceFileTest, WritesALineThatIsLongerThanTheSizeWhole) {
    TraceFile file;
    file.open({.path = "t", .rotate_at = 4, .kept = 1});
    file.append("a long line\n");
    file.append("another\n");
    EXPECT_EQ(content("t"), "another\n");
    EXPECT_EQ(content("t.1"), "a long line\n");
}

TEST_F(TraceFileTest, RotatesOnceForAllThatShareTheFile) {
    TraceFile first;
    TraceFile second;
    first.open({.path = "t", .rotate_at = 8, .kept = 5});
    second.open({.path = "t", .rotate_at = 8, .kept = 5});
    first.append("line 1\n");
    first.append("line 2\n");   // rotates
    second.append("line 3\n");  // still holds the old file, whose time has come
    EXPECT_EQ(content("t") + content("t.1") + content("t.2"), "line 3\nline 2\nline 1\n");
    EXPECT_EQ(content("t.3"), "(none)");
}

TEST_F(TraceFileTest, GrowsOnWhereItCannotBeRotated) {
    std::filesystem::create_directory("t.1");
    directory_.write("t.1/something", "");
    const std::string said = complaints([] {
        TraceFile file;
        file.open({.path = "t", .rotate_at = 8, .kept = 1});
        for (const char* line : {"line 1\n", "line 2\n", "line 3\n"}) {
            file.append(line);
        }
    });
    EXPECT_EQ(content("t"), "line 1\nline 2\nline 3\n");
    EXPECT_EQ(said,
              "libquorrin-trace: t: the trace cannot be rotated and grows on: Is a directory\n");
}

// ---- what the environment says ----

class TraceSettings : public TraceFileTest {
  protected:
    TraceSettings() {
        for (const char* name : {file_variable, reader_variable, terminal_variable, clear_variable,
                                 rotate_variable, keep_variable}) {
            unsetenv(name);
        }
        setenv(file_variable, "t", 1);
    }
};

TEST_F(TraceSettings, MaskUnlessToldOtherwiseInSoManyWords) {
    EXPECT_FALSE(read_settings().clear);
    setenv(clear_variable, "0", 1);
    EXPECT_FALSE(read_settings().clear);
    setenv(clear_variable, "", 1);
    EXPECT_FALSE(read_settings().clear);
    setenv(clear_variable, "1", 1);
    EXPECT_TRUE(read_settings().clear);
    setenv(clear_variable, "yes", 1);
    EXPECT_EQ(complaints([] { EXPECT_FALSE(read_settings().clear); }),
              "libquorrin-trace: QUORRIN_TRACE_CLEAR: is neither 0 nor 1, card data are masked\n");
}

TEST_F(TraceSettings, NameTheTerminal) {
    char host[256] = {};
    gethostname(host, sizeof host - 1);
    Settings settings = read_settings();
    EXPECT_EQ(std::string(settings.terminal.data(), settings.terminal_size),
              std::string(host).substr(0, longest_identifier));
    setenv(terminal_variable, "T0042", 1);
    settings = read_settings();
    EXPECT_EQ(std::string(settings.terminal.data(), settings.terminal_size), "T0042");
}

TEST_F(TraceSettings, SayWhenNothingIsRecorded) {
    unsetenv(file_variable);
    EXPECT_EQ(complaints([] { EXPECT_TRUE(read_settings().file.path.empty()); }),
              "libquorrin-trace: QUORRIN_TRACE_FILE: names no file, nothing is recorded\n");
}

TEST_F(TraceSettings, RotateBySizesInWords) {
    struct Row {
        const char* text;
        std::uint64_t size;
        bool complains;
    };
    for (const Row& row :
         {Row{"500000", 500000, false}, Row{"64K", 65536, false}, Row{"10M", 10485760, false},
          Row{"1G", 1073741824, false}, Row{"0", 0, false}, Row{"", 0, false}, Row{"-1", 0, true},
          Row{"10 M", 0, true}, Row{"ten", 0, true}, Row{"99999999999999999999", 0, true}}) {
        setenv(rotate_variable, row.text, 1);
        const std::string said =
            complaints([&row] { EXPECT_EQ(read_settings().file.rotate_at, row.size) << row.text; });
        EXPECT_EQ(said, row.complains
                            ? "libquorrin-trace: QUORRIN_TRACE_ROTATE: is no size such as "
                              "500000, 64K, 10M or 1G, the file is not rotated\n"
                            : "");
    }
}

TEST_F(TraceSettings, KeepAsManyFilesAsTold) {
    EXPECT_EQ(read_settings().file.kept, 9U);
    setenv(keep_variable, "3", 1);
    EXPECT_EQ(read_settings().file.kept, 3U);
    setenv(keep_variable, "none", 1);
    EXPECT_EQ(
        complaints([] { EXPECT_EQ(read_settings().file.kept, 9U); }),
        "libquorrin-trace: QUORRIN_TRACE_KEEP: is no number from 1 to 999, 9 files are kept\n");
}

}  // namespace
}  // namespace quorrin::trace
