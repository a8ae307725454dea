// The recorder between a host and a reader library: nothing that passes is changed, and each call
// leaves its line.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <thread>

#include "quorrin/reader_library.h"
#include "reader_libraries/trace/trace_format.hpp"
#include "tests/reader_libraries/trace/odd_reader.hpp"
#include "tests/support/bytes.hpp"

namespace quorrin::trace {
namespace {

using test_reader::OddReader;

// The library reads its settings once a process.
struct Recorder {
    std::filesystem::path directory;
    std::filesystem::path file;
    OddReader* reader = nullptr;
    decltype(&ICC_Reader_Open) open = nullptr;
    decltype(&ICC_Reader_Close) close = nullptr;
    decltype(&ICC_Reader_PowerOn) power_on = nullptr;
    decltype(&ICC_Reader_PowerOff) power_off = nullptr;
    decltype(&ICC_Reader_Application) exchange = nullptr;
    decltype(&ICC_Reader_GetSerial) serial = nullptr;

    Recorder() {
        std::string name = (std::filesystem::temp_directory_path() / "quorrin-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("mkdtemp");
        }
        directory = name;
        file = directory / "trace.jsonl";
        setenv("QUORRIN_TRACE_FILE", file.c_str(), 1);
        setenv("QUORRIN_TRACE_READER", QUORRIN_ODD_READER, 1);
        setenv("QUORRIN_TRACE_TERMINAL", "T \"7\"", 1);
        unsetenv("QUORRIN_TRACE_CLEAR");
        unsetenv("QUORRIN_TRACE_ROTATE");
        void* next = dlopen(QUORRIN_ODD_READER, RTLD_NOW);
        void* trace = dlopen(QUORRIN_TRACE_LIBRARY, RTLD_NOW);
        if (next == nullptr || trace == nullptr) {
            throw std::runtime_error(dlerror());
        }
        reader = reinterpret_cast<decltype(&odd_reader)>(dlsym(next, "odd_reader"))();
        const auto take = [trace](auto& function, const char* symbol) {
            function = reinterpret_cast<std::decay_t<decltype(function)>>(dlsym(trace, symbol));
        };
        take(open, "ICC_Reader_Open");
        take(close, "ICC_Reader_Close");
        take(power_on, "ICC_Reader_PowerOn");
        take(power_off, "ICC_Reader_PowerOff");
        take(exchange, "ICC_Reader_Application");
        take(serial, "ICC_Reader_GetSerial");
    }
    ~Recorder() {
        std::error_code ignored;
        std::filesystem::remove_all(directory, ignored);
    }
};

class PassThrough : public testing::Test {
  protected:
    PassThrough() {
        static Recorder only;
        recorder_ = &only;
        *only.reader = OddReader{};
        before_ = lines();
    }
    Recorder& recorder() { return *recorder_; }
    OddReader& reader() { return *recorder_->reader; }

    std::size_t lines() const { return read_trace(recorder_->file).entries.size(); }
    // What the test's calls have left.
    std::vector<Entry> entries() const {
        Trace trace = read_trace(recorder_->file);
        EXPECT_TRUE(trace.problems.empty());
        trace.entries.erase(trace.entries.begin(),
                            trace.entries.begin() + static_cast<std::ptrdiff_t>(before_));
        return std::move(trace.entries);
    }
    Entry only_entry() const {
        auto all = entries();
        EXPECT_EQ(all.size(), 1U);
        return all.empty() ? Entry{} : all.front();
    }

  private:
    Recorder* recorder_;
    std::size_t before_ = 0;
};

TEST_F(PassThrough, Open) {
    std::array<char, 32> name{};
    reader().open = [&](char* given) -> std::int64_t {
        EXPECT_EQ(given, name.data());
        std::strcpy(given, "Odd reader");
        return INT64_C(0x7FFFFFFF12345678);
    };
    EXPECT_EQ(recorder().open(name.data()), INT64_C(0x7FFFFFFF12345678));
    EXPECT_STREQ(name.data(), "Odd reader");
    const Entry entry = only_entry();
    EXPECT_EQ(entry.action, Action::Open);
    EXPECT_EQ(entry.reader_name, "Odd reader");
    EXPECT_EQ(entry.result, INT64_C(0x7FFFFFFF12345678));
    EXPECT_EQ(entry.terminal, "T \"7\"");
    EXPECT_EQ(entry.process, getpid());
    EXPECT_TRUE(entry.masked);
    EXPECT_TRUE(entry.success);
}

TEST_F(PassThrough, OpenWithANullPointerAndANameWithoutEnd) {
    reader().open = [](char* given) -> std::int64_t { return given == nullptr ? -14 : 1; };
    EXPECT_EQ(recorder().open(nullptr), -14);
    std::array<char, 33> full;
    full.fill('x');
    EXPECT_EQ(recorder().open(full.data()), 1);
    const auto all = entries();
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[0].reader_name, "");
    EXPECT_EQ(all[1].reader_name, std::string(32, 'x'));
}

TEST_F(PassThrough, Close) {
    reader().close = [] { return std::int64_t{-12}; };
    EXPECT_EQ(recorder().close(), -12);
    const Entry entry = only_entry();
    EXPECT_EQ(entry.action, Action::Close);
    EXPECT_EQ(entry.result, -12);
    EXPECT_FALSE(entry.success);
}

TEST_F(PassThrough, PowerOn) {
    std::array<std::uint8_t, 512> atr{};
    reader().power_on = [&](std::int64_t handle, int slot, std::uint8_t* given) -> std::int64_t {
        EXPECT_EQ(handle, -7);
        EXPECT_EQ(slot, 0x31);
        EXPECT_EQ(given, atr.data());
        given[0] = 0x3B;
        given[1] = 0x01;
        given[2] = 0xEE;  // beyond the result
        return 2;
    };
    EXPECT_EQ(recorder().power_on(-7, 0x31, atr.data()), 2);
    EXPECT_EQ(atr[2], 0xEE);
    const Entry entry = only_entry();
    EXPECT_EQ(entry.atr, test::hex("3B01"));
    EXPECT_EQ(entry.handle, -7);
    EXPECT_EQ(entry.slot_name, "contactless");
}

TEST_F(PassThrough, PowerOnWithOddArgumentsAndResults) {
    for (const std::int64_t result :
         {INT64_MIN, INT64_C(-2), INT64_C(0), INT64_C(513), INT64_MAX}) {
        reader().power_on = [&](std::int64_t, int, std::uint8_t*) { return result; };
        std::array<std::uint8_t, 512> atr{};
        EXPECT_EQ(recorder().power_on(1, INT32_MIN, atr.data()), result);
        EXPECT_EQ(recorder().power_on(1, 1, nullptr), result);
    }
    for (const Entry& entry : entries()) {
        EXPECT_TRUE(entry.atr.empty());
    }
}

TEST_F(PassThrough, PowerOff) {
    reader().power_off = [](std::int64_t handle, int slot) -> std::int64_t {
        return handle * 100 + slot;
    };
    EXPECT_EQ(recorder().power_off(2, 3), 203);
    const Entry entry = only_entry();
    EXPECT_EQ(entry.action, Action::PowerOff);
    EXPECT_EQ(entry.slot_name, "contactless");
    EXPECT_EQ(entry.result_name, "other");
}

TEST_F(PassThrough, Exchange) {
    test::ByteString command = test::hex("00B2010C00");
    std::array<std::uint8_t, 1024> response;
    response.fill(0x77);
    reader().exchange = [&](std::int64_t handle, int slot, std::int64_t length, std::uint8_t* given,
                            std::uint8_t* out) -> std::int64_t {
        EXPECT_EQ(handle, 5);
        EXPECT_EQ(slot, 1);
        EXPECT_EQ(length, 5);
        EXPECT_EQ(given, command.data());
        EXPECT_EQ(out, response.data());
        given[4] = 0x99;  // a library may use the host's buffer
        const test::ByteString answer = test::hex("700A5A0899990100000000119000");
        std::ranges::copy(answer, out);
        return static_cast<std::int64_t>(answer.size());
    };
    EXPECT_EQ(recorder().exchange(5, 1, 5, command.data(), response.data()), 14);
    EXPECT_EQ(command, test::hex("00B2010C99"));
    EXPECT_EQ(test::to_hex(std::span(response).first(14)), "700A5A0899990100000000119000");
    EXPECT_EQ(response[14], 0x77);
    const Entry entry = only_entry();
    EXPECT_EQ(entry.command.text(), "00B2010C00");  // as it was sent
    EXPECT_EQ(entry.answer.text(), "700A5A08****************9000");
    EXPECT_EQ(entry.instruction, "READ RECORD");
    EXPECT_EQ(entry.slot_name, "contact");
    EXPECT_EQ(entry.status(), 0x9000);
}

TEST_F(PassThrough, ExchangeInOneBufferForBoth) {
    std::array<std::uint8_t, 1024> both{0x00, 0x84, 0x00, 0x00, 0x02};
    reader().exchange = [](auto, auto, auto, auto, std::uint8_t* out) -> std::int64_t {
        const test::ByteString answer = test::hex("ABCD9000");
        std::ranges::copy(answer, out);
        return 4;
    };
    EXPECT_EQ(recorder().exchange(5, 1, 5, both.data(), both.data()), 4);
    const Entry entry = only_entry();
    EXPECT_EQ(entry.command.text(), "0084000002");
    EXPECT_EQ(entry.answer.text(), "ABCD9000");
}

TEST_F(PassThrough, ExchangeWithOddArguments) {
    struct Row {
        std::int64_t length;
        bool has_command;
        const char* recorded;  // null: no bytes
    };
    std::array<std::uint8_t, 261> command{};
    const Row rows[] = {
        {INT64_MIN, true, nullptr}, {-1, true, nullptr},
        {0, true, nullptr},         {1, true, "00"},
        {262, true, nullptr},       {INT64_MAX, true, nullptr},
        {5, false, nullptr},
    };
    reader().exchange = [](auto, auto, std::int64_t length, auto, auto) { return -length / 2; };
    for (const Row& row : rows) {
        const std::int64_t result = recorder().exchange(
            INT64_MAX, -1, row.length, row.has_command ? command.data() : nullptr, nullptr);
        EXPECT_EQ(result, -row.length / 2);
    }
    const auto all = entries();
    ASSERT_EQ(all.size(), std::size(rows));
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (rows[i].recorded == nullptr) {
            EXPECT_EQ(all[i].command_length, rows[i].length);
            EXPECT_TRUE(all[i].command.empty());
        } else {
            EXPECT_EQ(all[i].command.text(), rows[i].recorded);
        }
        EXPECT_TRUE(all[i].answer.empty());
        EXPECT_EQ(all[i].slot_name, "");
        EXPECT_EQ(all[i].slot_code, -1);
    }
}

TEST_F(PassThrough, ExchangeWithOddResults) {
    test::ByteString command = test::hex("00B2010C00");
    for (const std::int64_t result :
         {INT64_MIN, INT64_C(-40000), INT64_C(0), INT64_C(1), INT64_C(1025), INT64_MAX}) {
        std::array<std::uint8_t, 1024> response{};
        reader().exchange = [&](auto, auto, auto, auto, auto) { return result; };
        EXPECT_EQ(recorder().exchange(5, 1, 5, command.data(), response.data()), result);
    }
    for (const Entry& entry : entries()) {
        EXPECT_TRUE(entry.answer.empty());
        EXPECT_FALSE(entry.success);
    }
}

TEST_F(PassThrough, TheLongestCommandAndAnswer) {
    test::ByteString command = test::filled(261, 0xFE);
    std::array<std::uint8_t, 1024> response;
    response.fill(0xA5);
    reader().exchange = [](auto, auto, auto, auto, auto) { return INT64_C(1024); };
    EXPECT_EQ(recorder().exchange(5, 1, 261, command.data(), response.data()), 1024);
    const Entry entry = only_entry();
    EXPECT_EQ(entry.command.size(), 261U);
    EXPECT_EQ(entry.answer.size(), 1024U);
}

TEST_F(PassThrough, Serial) {
    std::array<char, 100> serial{};
    reader().serial = [](std::int64_t handle, char* given) -> std::int64_t {
        if (given != nullptr) {
            std::strcpy(given, "0000471100");
        }
        return handle == 1 ? 0 : -12;
    };
    EXPECT_EQ(recorder().serial(1, serial.data()), 0);
    EXPECT_EQ(recorder().serial(2, serial.data()), -12);
    EXPECT_EQ(recorder().serial(1, nullptr), 0);
    const auto all = entries();
    ASSERT_EQ(all.size(), 3U);
    EXPECT_EQ(all[0].reader_serial, "0000471100");
    EXPECT_EQ(all[1].reader_serial, "");
    EXPECT_EQ(all[2].reader_serial, "");
}

TEST_F(PassThrough, LeavesErrnoAsTheReaderLibraryDid) {
    reader().close = [] {
        errno = ELOOP;
        return std::int64_t{0};
    };
    errno = 0;
    recorder().close();
    EXPECT_EQ(errno, ELOOP);
}

TEST_F(PassThrough, StopsWhatIsThrownBehindIt) {
    reader().close = []() -> std::int64_t { throw std::runtime_error("odd"); };
    EXPECT_EQ(recorder().close(), -5);
    EXPECT_EQ(only_entry().result, -5);
}

TEST_F(PassThrough, LetsAThreadBeEndedInTheReaderLibrary) {
    alarm(60);  // a thread that cannot be ended would never be joined
    reader().close = []() -> std::int64_t {
        for (;;) {
            pause();  // where a thread can be ended
        }
    };
    pthread_t thread{};
    ASSERT_EQ(pthread_create(
                  &thread, nullptr,
                  [](void* close) -> void* {
                      reinterpret_cast<decltype(&ICC_Reader_Close)>(close)();
                      return nullptr;
                  },
                  reinterpret_cast<void*>(recorder().close)),
              0);
    pthread_cancel(thread);
    void* ended = nullptr;
    pthread_join(thread, &ended);
    alarm(0);
    EXPECT_EQ(ended, PTHREAD_CANCELED);
    reader().close = [] { return std::int64_t{0}; };
    EXPECT_EQ(recorder().close(), 0);
    EXPECT_EQ(entries().back().result, 0);
}

TEST_F(PassThrough, NumbersTheCallsOfEachSession) {
    reader().open = [](char*) { return std::int64_t{1}; };
    reader().close = [] { return std::int64_t{0}; };
    recorder().open(nullptr);
    recorder().close();
    recorder().open(nullptr);
    const auto all = entries();
    ASSERT_EQ(all.size(), 3U);
    EXPECT_EQ(all[0].sequence, 1);
    EXPECT_EQ(all[1].sequence, 2);
    EXPECT_EQ(all[2].sequence, 1);
    EXPECT_EQ(all[0].session, all[1].session);
    EXPECT_NE(all[1].session, all[2].session);
    EXPECT_LE(all[0].began, all[1].began);
}

TEST_F(PassThrough, RecordsCallsOfManyThreads) {
    reader().power_off = [](std::int64_t, int slot) { return std::int64_t{slot}; };
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([this, number] {
            for (int i = 0; i < 250; ++i) {
                EXPECT_EQ(recorder().power_off(1, 4 * i + number), 4 * i + number);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::vector<std::int64_t> results;
    for (const Entry& entry : entries()) {
        results.push_back(entry.result);
    }
    std::ranges::sort(results);
    ASSERT_EQ(results.size(), 1000U);
    EXPECT_EQ(results.front(), 0);
    EXPECT_EQ(results.back(), 999);
}

TEST_F(PassThrough, RecordsAForkedProcessAsASessionOfItsOwn) {
    reader().close = [] { return std::int64_t{0}; };
    recorder().close();
    const pid_t child = fork();
    if (child == 0) {
        recorder().close();
        _exit(0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    ASSERT_EQ(status, 0);
    const auto all = entries();
    ASSERT_EQ(all.size(), 2U);
    EXPECT_NE(all[0].session, all[1].session);
    EXPECT_EQ(all[1].process, child);
    EXPECT_EQ(all[1].sequence, 1);
}

TEST_F(PassThrough, LosesNoWholeLineWhenTheProcessIsKilled) {
    reader().close = [] { return std::int64_t{0}; };
    recorder().close();
    const auto size = std::filesystem::file_size(recorder().file);
    const pid_t child = fork();
    if (child == 0) {
        for (;;) {
            recorder().close();
        }
    }
    alarm(60);
    while (std::filesystem::file_size(recorder().file) < size + 100'000) {
        std::this_thread::yield();
    }
    alarm(0);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    const Trace trace = read_trace(recorder().file);
    EXPECT_TRUE(trace.problems.empty() ||
                (trace.problems.size() == 1 && trace.problems[0].kind == Problem::Kind::Truncated));
    std::int64_t last = 0;
    for (const Entry& entry : trace.entries) {
        if (entry.process == child) {
            EXPECT_EQ(entry.sequence, ++last);
        }
    }
    EXPECT_GT(last, 100);
}

}  // namespace
}  // namespace quorrin::trace
