// Hosts as programs of their own, with the recorder in front of their reader library in each way.

#include <gtest/gtest.h>

#include <cstdlib>

#include "reader_libraries/trace/trace_format.hpp"
#include "tests/support/temporary_directory.hpp"

namespace quorrin::trace {
namespace {

struct HostRun {
    int status = -1;
    std::string complaints;
    std::string actions;  // of the trace: "open power_on ..."
};

class RecordedHost : public testing::Test {
  protected:
    // Variables as the shell takes them, then the command.
    HostRun run(const std::string& variables, const std::string& command) {
        const std::string line =
            "env -u QUORRIN_TRACE_FILE -u QUORRIN_TRACE_READER -u QUORRIN_TRACE_TERMINAL "
            "-u QUORRIN_TRACE_CLEAR -u QUORRIN_TRACE_ROTATE -u QUORRIN_SIMULATOR "
            "QT_LOGGING_RULES='*.debug=false' "
            "ASAN_OPTIONS=verify_asan_link_order=0:detect_leaks=0 " +
            variables + " " + command + " 2>complaints";
        HostRun run;
        run.status = std::system(line.c_str());
        std::ifstream stream("complaints");
        run.complaints = {std::istreambuf_iterator<char>(stream), {}};
        const Trace trace = read_trace("t.jsonl");
        for (const Entry& entry : trace.entries) {
            run.actions += (run.actions.empty() ? "" : " ") + entry.instruction +
                           std::to_string(static_cast<int>(entry.action));
        }
        return run;
    }

    // open, power_on, SELECT exchange, power_off, close: by number of the action.
    const std::string whole = "0 2 SELECT4 3 1";

    test::TemporaryDirectory directory_;
};

constexpr char trace[] = QUORRIN_TRACE_LIBRARY;
constexpr char simulator[] = QUORRIN_SIMULATOR_LIBRARY;
constexpr char host[] = QUORRIN_HOST;
constexpr char linking_host[] = QUORRIN_LINKING_HOST;

std::string quoted(const std::string& text) {
    return "'" + text + "'";
}

TEST_F(RecordedHost, WithItsReaderLibraryLinked) {
    const HostRun done =
        run(std::string("QUORRIN_TRACE_FILE=t.jsonl LD_PRELOAD=") + trace, linking_host);
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.complaints, "");
    EXPECT_EQ(done.actions, whole);
}

TEST_F(RecordedHost, WithItsReaderLibraryPreloaded) {
    const HostRun done =
        run("QUORRIN_TRACE_FILE=t.jsonl LD_PRELOAD=" + quoted(std::string(trace) + " " + simulator),
            host);
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.complaints, "");
    EXPECT_EQ(done.actions, whole);
}

TEST_F(RecordedHost, WithItsReaderLibraryOpenedAtRunTime) {
    const HostRun done = run(std::string("QUORRIN_TRACE_FILE=t.jsonl LD_PRELOAD=") + trace,
                             std::string(host) + " " + simulator);
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.complaints, "");
    EXPECT_EQ(done.actions, whole);
}

TEST_F(RecordedHost, WithItsReaderLibraryNamed) {
    const std::string named =
        std::string("QUORRIN_TRACE_FILE=t.jsonl QUORRIN_TRACE_READER=") + simulator;
    HostRun done = run(named + " LD_PRELOAD=" + trace, host);
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.complaints, "");
    EXPECT_EQ(done.actions, whole);
    std::filesystem::remove("t.jsonl");
    done = run(named, std::string(host) + " " + trace);
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.complaints, "");
    EXPECT_EQ(done.actions, whole);
}

TEST_F(RecordedHost, GoesOnWhereTheTraceCannotBeWritten) {
    const std::string preloaded = std::string(" LD_PRELOAD=") + trace;
    HostRun done = run("QUORRIN_TRACE_FILE=no/t.jsonl" + preloaded, linking_host);
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(
        done.complaints,
        "libquorrin-trace: no/t.jsonl: the trace cannot be written: No such file or directory\n");
    done = run("QUORRIN_TRACE_FILE=/dev/full" + preloaded, linking_host);
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(
        done.complaints,
        "libquorrin-trace: /dev/full: lines of the trace are lost: No space left on device\n");
    done = run(preloaded, linking_host);
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.complaints,
              "libquorrin-trace: QUORRIN_TRACE_FILE: names no file, nothing is recorded\n");
}

TEST_F(RecordedHost, HearsThatThereIsNoReaderLibrary) {
    const std::string preloaded = std::string("QUORRIN_TRACE_FILE=t.jsonl LD_PRELOAD=") + trace;
    const std::string none =
        "libquorrin-trace: no reader library provides all six reader functions: name one in "
        "QUORRIN_TRACE_READER\n";
    HostRun done = run(preloaded, host);
    EXPECT_NE(done.status, 0);
    EXPECT_EQ(done.complaints.substr(0, none.size()), none);
    EXPECT_EQ(done.actions, "0");  // opening failed with -5
    EXPECT_EQ(read_trace("t.jsonl").entries.at(0).result, -5);
    EXPECT_EQ(read_trace("t.jsonl").entries.at(0).result_name, "library_not_loaded");

    done = run(preloaded + " QUORRIN_TRACE_READER=" + trace, host);  // itself
    EXPECT_NE(done.status, 0);
    EXPECT_EQ(done.complaints.substr(0, none.size()), none);

    done = run(preloaded + " QUORRIN_TRACE_READER=./missing.so", host);
    EXPECT_NE(done.status, 0);
    const std::string missing = "libquorrin-trace: QUORRIN_TRACE_READER: ./missing.so: cannot open";
    EXPECT_EQ(done.complaints.substr(0, missing.size()), missing);
}

TEST_F(RecordedHost, IsRecordedInClearWhenThatIsAskedFor) {
    const std::string preloaded = std::string("QUORRIN_TRACE_FILE=t.jsonl LD_PRELOAD=") + trace;
    run(preloaded, linking_host);
    run(preloaded + " QUORRIN_TRACE_CLEAR=1", linking_host);
    const Trace both = read_trace("t.jsonl");
    ASSERT_EQ(both.entries.size(), 10U);
    EXPECT_TRUE(both.entries.front().masked);
    EXPECT_FALSE(both.entries.back().masked);
}

TEST_F(RecordedHost, RotatesItsTrace) {
    for (int i = 0; i < 4; ++i) {
        run(std::string("QUORRIN_TRACE_FILE=t.jsonl QUORRIN_TRACE_ROTATE=2K "
                        "QUORRIN_TRACE_KEEP=2 LD_PRELOAD=") +
                trace,
            linking_host);
    }
    EXPECT_TRUE(std::filesystem::exists("t.jsonl.1"));
    EXPECT_TRUE(std::filesystem::exists("t.jsonl.2"));
    EXPECT_FALSE(std::filesystem::exists("t.jsonl.3"));
    for (const char* name : {"t.jsonl", "t.jsonl.1", "t.jsonl.2"}) {
        EXPECT_LE(std::filesystem::file_size(name), 2048U);
        EXPECT_TRUE(read_trace(name).problems.empty());
    }
}

}  // namespace
}  // namespace quorrin::trace
