#include "tests/reader_libraries/pcsc/fake_pcsc.hpp"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "reader_libraries/pcsc/pcsc_functions.hpp"

namespace quorrin::test {
namespace {

using std::chrono::milliseconds;

std::string disposition(DWORD what) {
    return what == SCARD_UNPOWER_CARD ? " unpower" : what == SCARD_LEAVE_CARD ? " leave" : " ?";
}

std::string mode(DWORD share) {
    return share == SCARD_SHARE_EXCLUSIVE ? " exclusive"
           : share == SCARD_SHARE_SHARED  ? " shared"
                                          : " direct";
}

LONG establish_context(DWORD, LPCVOID, LPCVOID, LPSCARDCONTEXT context) {
    FakePcsc& fake = fake_pcsc();
    fake.calls.emplace_back("establish");
    if (const LONG result = fake.next_result("EstablishContext")) {
        return result;
    }
    if (!fake.running) {
        return SCARD_E_NO_SERVICE;
    }
    *context = fake.new_handle();
    return SCARD_S_SUCCESS;
}

LONG release_context(SCARDCONTEXT context) {
    fake_pcsc().calls.emplace_back("release");
    return fake_pcsc().check(context);
}

LONG list_readers(SCARDCONTEXT context, LPCSTR, LPSTR names, LPDWORD size) {
    FakePcsc& fake = fake_pcsc();
    if (const LONG result = fake.next_result("ListReaders")) {
        return result;
    }
    if (const LONG result = fake.check(context)) {
        return result;
    }
    std::string list;
    for (const FakeReader& reader : fake.readers) {
        list += reader.name + '\0';
    }
    if (list.empty()) {
        return SCARD_E_NO_READERS_AVAILABLE;
    }
    list += '\0';
    if (names != nullptr) {
        if (*size < list.size()) {
            return SCARD_E_INSUFFICIENT_BUFFER;
        }
        std::ranges::copy(list, names);
    }
    *size = list.size();
    return SCARD_S_SUCCESS;
}

// A wait passes at once: the clock moves on.
LONG get_status_change(SCARDCONTEXT context, DWORD timeout, SCARD_READERSTATE* state, DWORD) {
    FakePcsc& fake = fake_pcsc();
    if (const LONG result = fake.next_result("GetStatusChange")) {
        return result;
    }
    if (const LONG result = fake.check(context)) {
        return result;
    }
    if (state->dwCurrentState != SCARD_STATE_UNAWARE) {
        fake.clock += milliseconds(timeout);
        return SCARD_E_TIMEOUT;
    }
    const FakeReader* reader = fake.find_reader(state->szReader);
    if (reader == nullptr) {
        state->dwEventState = SCARD_STATE_UNKNOWN | SCARD_STATE_CHANGED;
        return SCARD_S_SUCCESS;
    }
    state->dwEventState = reader->card ? SCARD_STATE_PRESENT : SCARD_STATE_EMPTY;
    if (fake.clock < reader->until) {
        state->dwEventState |= reader->held;
    }
    return SCARD_S_SUCCESS;
}

LONG connect(SCARDCONTEXT context, LPCSTR name, DWORD share, DWORD, LPSCARDHANDLE card,
             LPDWORD protocol) {
    FakePcsc& fake = fake_pcsc();
    fake.calls.push_back(std::string("connect ") + name + mode(share));
    if (const LONG result = fake.next_result("Connect")) {
        return result;
    }
    if (const LONG result = fake.check(context)) {
        return result;
    }
    const FakeReader* reader = fake.find_reader(name);
    if (reader == nullptr) {
        return SCARD_E_UNKNOWN_READER;
    }
    if (!reader->card && share != SCARD_SHARE_DIRECT) {
        return SCARD_E_NO_SMARTCARD;
    }
    *card = fake.new_handle();
    fake.cards[*card] = name;
    *protocol = reader->protocol;
    return SCARD_S_SUCCESS;
}

LONG reconnect(SCARDHANDLE card, DWORD share, DWORD, DWORD what, LPDWORD protocol) {
    FakePcsc& fake = fake_pcsc();
    fake.calls.push_back("reconnect" + mode(share) + disposition(what));
    if (const LONG result = fake.next_result("Reconnect")) {
        return result;
    }
    if (const LONG result = fake.check(card)) {
        return result;
    }
    const FakeReader* reader = fake.find_reader(fake.cards[card].c_str());
    if (reader == nullptr) {
        return SCARD_E_READER_UNAVAILABLE;
    }
    *protocol = reader->protocol;
    return reader->card ? SCARD_S_SUCCESS : SCARD_E_NO_SMARTCARD;
}

LONG disconnect(SCARDHANDLE card, DWORD what) {
    FakePcsc& fake = fake_pcsc();
    fake.calls.push_back("disconnect" + disposition(what));
    if (const LONG result = fake.next_result("Disconnect")) {
        return result;
    }
    return fake.check(card);
}

LONG status(SCARDHANDLE card, LPSTR, LPDWORD, LPDWORD, LPDWORD, LPBYTE answer, LPDWORD length) {
    FakePcsc& fake = fake_pcsc();
    if (const LONG result = fake.next_result("Status")) {
        return result;
    }
    const ByteString& atr = fake.find_reader(fake.cards[card].c_str())->answer_to_reset;
    std::ranges::copy(atr, answer);
    *length = atr.size();
    return SCARD_S_SUCCESS;
}

LONG transmit(SCARDHANDLE, const SCARD_IO_REQUEST* protocol, LPCBYTE command, DWORD count,
              SCARD_IO_REQUEST*, LPBYTE answer, LPDWORD length) {
    FakePcsc& fake = fake_pcsc();
    fake.command_length = std::min<std::size_t>(count, fake.command.size());
    std::memcpy(fake.command.data(), command, fake.command_length);
    fake.command_protocol = protocol->dwProtocol;
    return fake.answer({command, count}, answer, length);
}

LONG get_attribute(SCARDHANDLE card, DWORD, LPBYTE attribute, LPDWORD length) {
    FakePcsc& fake = fake_pcsc();
    if (const LONG result = fake.next_result("GetAttrib")) {
        return result;
    }
    const ByteString& serial = fake.find_reader(fake.cards[card].c_str())->serial;
    if (serial.empty()) {
        return SCARD_E_UNSUPPORTED_FEATURE;
    }
    if (*length < serial.size()) {
        return SCARD_E_INSUFFICIENT_BUFFER;
    }
    std::ranges::copy(serial, attribute);
    *length = serial.size();
    return SCARD_S_SUCCESS;
}

std::chrono::steady_clock::time_point now() {
    return std::chrono::steady_clock::time_point(fake_pcsc().clock);
}

}  // namespace

FakePcsc& fake_pcsc() {
    static FakePcsc fake;
    return fake;
}

FakeReader& FakePcsc::reader(const std::string& name) {
    if (FakeReader* found = find_reader(name.c_str())) {
        return *found;
    }
    throw std::invalid_argument("no reader " + name);
}

FakeReader* FakePcsc::find_reader(const char* name) {
    const auto found = std::ranges::find(readers, name, &FakeReader::name);
    return found == readers.end() ? nullptr : &*found;
}

LONG FakePcsc::next_result(const std::string& function) {
    auto& waiting = results[function];
    if (waiting.empty()) {
        return SCARD_S_SUCCESS;
    }
    const LONG result = waiting.front();
    waiting.pop_front();
    return result;
}

// As the service's library says it: a handle of the run before has lost its service.
LONG FakePcsc::check(long handle) const {
    if (!running) {
        return SCARD_E_NO_SERVICE;
    }
    if (handle == 0) {
        return SCARD_E_INVALID_HANDLE;
    }
    return handle / 1000 == run_ ? SCARD_S_SUCCESS : SCARD_E_SERVICE_STOPPED;
}

}  // namespace quorrin::test

namespace quorrin::pcsc {

const PcscFunctions& pcsc_functions() {
    static constexpr PcscFunctions functions{
        .establish_context = test::establish_context,
        .release_context = test::release_context,
        .list_readers = test::list_readers,
        .get_status_change = test::get_status_change,
        .connect = test::connect,
        .reconnect = test::reconnect,
        .disconnect = test::disconnect,
        .status = test::status,
        .transmit = test::transmit,
        .get_attribute = test::get_attribute,
        .now = test::now,
    };
    return functions;
}

}  // namespace quorrin::pcsc
