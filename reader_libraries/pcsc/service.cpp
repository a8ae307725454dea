#include "reader_libraries/pcsc/service.hpp"

#include "reader_libraries/pcsc/reader_names.hpp"

namespace quorrin::pcsc {

std::optional<FailedStep> Service::list_readers(std::vector<std::string>& names) {
    if (!context_) {
        if (const LONG result = establish(); result != SCARD_S_SUCCESS) {
            return FailedStep{"SCardEstablishContext", result};
        }
    }
    LONG result = read_list(names);
    if (result == SCARD_S_SUCCESS && names.empty()) {
        result = SCARD_E_NO_READERS_AVAILABLE;
    }
    if (result != SCARD_S_SUCCESS) {
        return FailedStep{"SCardListReaders", result};
    }
    return std::nullopt;
}

void Service::release() {
    if (context_) {
        functions_.release_context(*context_);
        context_.reset();
    }
}

LONG Service::establish() {
    SCARDCONTEXT context = 0;
    const LONG result =
        functions_.establish_context(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &context);
    if (result == SCARD_S_SUCCESS) {
        context_ = context;
    }
    return result;
}

LONG Service::read_list(std::vector<std::string>& names) const {
    // A reader that comes between the two calls makes the list too long for its room.
    LONG result = SCARD_E_INSUFFICIENT_BUFFER;
    for (int attempt = 0; attempt < 3 && result == SCARD_E_INSUFFICIENT_BUFFER; ++attempt) {
        DWORD size = 0;
        result = functions_.list_readers(context(), nullptr, nullptr, &size);
        if (result != SCARD_S_SUCCESS) {
            return result;
        }
        std::string list(size, '\0');
        result = functions_.list_readers(context(), nullptr, list.data(), &size);
        if (result == SCARD_S_SUCCESS) {
            names = names_in_list(list);
        }
    }
    return result;
}

}  // namespace quorrin::pcsc
