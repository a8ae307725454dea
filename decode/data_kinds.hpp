// Decoders of data kinds that have no place in the public header.
#pragma once

#include "decode/decode.hpp"

namespace quorrin::decode {

// The library's text of a log record ("P012...").
Node log_text(std::string_view text, const Options& options);

// A record of a load log: what PUT DATA changed, before the fields of the format.
Node load_log_record(Bytes record, const Options& options);

}  // namespace quorrin::decode
