#include "reader_libraries/trace/masking/card_masking.hpp"

#include <algorithm>
#include <cstring>
#include <optional>

#include "reader_libraries/trace/masking/element_rules.hpp"
#include "reader_libraries/trace/masking/element_walk.hpp"

namespace quorrin::trace {
namespace {

using View = std::span<const std::uint8_t>;

constexpr std::size_t header_size = 4;
constexpr std::size_t data_start = 5;  // behind Lc

constexpr std::uint32_t tag_pan = 0x5A;
constexpr std::uint32_t tag_track_2 = 0x57;
constexpr std::uint32_t tag_track_2_data = 0x9F6B;
constexpr std::uint32_t tag_df_name = 0x84;
constexpr std::uint8_t command_template = 0x83;
constexpr std::uint8_t record_template = 0x70;
constexpr std::uint8_t format_1 = 0x80;
constexpr std::uint8_t format_2 = 0x77;
constexpr std::size_t load_log_prefix =
    14;  // what was changed, old and new value (PBOC 3.0 part 13)
constexpr std::size_t unpredictable_number_size = 4;

// Masks one value by its rule. `data` is what the value's place counts in.
void mask_value(Rule rule, View data, std::size_t from, std::size_t to, DigitMask& mask) {
    if (rule == Rule::Secret) {
        mask.hide(from, to);
    } else if (rule == Rule::Digits) {
        for (std::size_t i = from; i < to; ++i) {
            if (data[i] >> 4 <= 9) {
                mask.hide_digit(2 * i);
            }
            if ((data[i] & 0x0F) <= 9) {
                mask.hide_digit(2 * i + 1);
            }
        }
    }
}

std::uint32_t tag_in_header(const std::array<std::uint8_t, header_size>& header) {
    const auto tag = static_cast<std::uint32_t>(header[2] << 8 | header[3]);
    return header[3] == 0 ? header[2] : tag;  // a one-byte tag stands at either end
}

// Next tag and length of a list; false at its end and where it is broken.
bool next_listed(View list, std::size_t& at, std::uint32_t& tag, std::size_t& length) {
    if (at >= list.size()) {
        return false;
    }
    tag = list[at++];
    if ((tag & 0x1F) == 0x1F) {
        do {
            if (at >= list.size() || tag > 0xFFFF) {
                return false;
            }
            tag = tag << 8 | list[at];
        } while ((list[at++] & 0x80) != 0);
    }
    if (at >= list.size() || list[at] >= 0x80) {
        return false;
    }
    length = list[at++];
    return true;
}

// How many bytes a list asks for; nothing for a broken list.
std::optional<std::size_t> listed_size(View list) {
    std::size_t at = 0;
    std::size_t total = 0;
    std::uint32_t tag = 0;
    std::size_t length = 0;
    while (at < list.size()) {
        if (!next_listed(list, at, tag, length)) {
            return std::nullopt;
        }
        total += length;
    }
    return total;
}

// One object and nothing behind it.
bool covers_all(View data) {
    return (data.size() >= 2 && data[1] < 0x80 && data[1] == data.size() - 2) ||
           (data.size() >= 3 && data[1] == 0x81 && data[2] == data.size() - 3);
}

}  // namespace

void CardMasking::List::keep(View list) {
    known = list.size() <= bytes.size();
    size = known ? list.size() : 0;
    std::copy_n(list.begin(), size, bytes.begin());
}

void CardMasking::power_on() {
    *this = CardMasking{};
}

void CardMasking::exchange(View command, View answer, KnownSecrets& secrets,
                           DigitMask& command_mask, DigitMask& answer_mask) {
    const CommandRule* rule = find_command_rule(command);
    const bool continues = rule != nullptr && rule->answer == AnswerData::Continued;
    if (!continues || !is_continued_) {
        rule_ = continues ? nullptr : rule;
        std::copy_n(command.begin(), std::min(command.size(), header_size), header_.begin());
        chain_size_ = 0;
        chain_overflowed_ = false;
    }
    if (!continues && rule != nullptr && rule->answer == AnswerData::File) {
        for (List* list : {&pdol_, &cdol1_, &cdol2_, &ddol_, &log_format_, &load_log_format_}) {
            list->known = false;  // they belong to the application before
        }
    }
    command_mask.start(command.size());
    mask_command(command, rule, command_mask);

    answer_mask.start(answer.size());
    const bool has_status = answer.size() >= status_word_size;
    const View data = answer.first(has_status ? answer.size() - status_word_size : 0);
    const std::uint8_t sw1 = has_status ? answer[data.size()] : 0;
    // A GET RESPONSE with the wrong Le is repeated with the right one.
    is_continued_ = sw1 == 0x61 || (continues && is_continued_ && sw1 == 0x6C);
    mask_answer(data, sw1 == 0x61, secrets, answer_mask);
    if (has_status) {
        note_selection(command, answer);
    } else {
        answer_mask.hide(0, answer.size());
    }
    // What was learned from this answer may stand in this very command.
    secrets.hide_in(command, command_mask);
    secrets.hide_in(data, answer_mask);
}

void CardMasking::mask_command(View command, const CommandRule* rule, DigitMask& mask) const {
    if (command.size() <= data_start) {
        return;  // header and Le at most
    }
    const std::size_t data_size = command[header_size];
    const std::size_t room = command.size() - data_start;
    if (data_size != room && data_size + 1 != room) {  // no Lc, or one that lies
        mask.hide(header_size, command.size());
        return;
    }
    const View data = command.subspan(data_start, data_size);
    const std::size_t end = data_start + data_size;
    switch (rule == nullptr ? CommandData::Secret : rule->data) {
        case CommandData::Open:
            return;
        case CommandData::Options:
            if (data.size() >= 2 && data[0] == command_template && data[1] == data.size() - 2 &&
                (data[1] == 0 || mask_listed(pdol_, data.subspan(2), data_start + 2, mask))) {
                return;
            }
            break;
        case CommandData::Cryptogram: {
            const bool first = mask_listed(cdol1_, data, data_start, mask);
            const bool second = mask_listed(cdol2_, data, data_start, mask);
            if (first || second) {
                return;
            }
            break;
        }
        case CommandData::Dynamic:
            if (mask_listed(ddol_, data, data_start, mask) ||
                data.size() == unpredictable_number_size) {
                return;
            }
            break;
        case CommandData::Element: {
            const ElementRule* row = find_rule(tag_in_header(header_));
            if (row != nullptr && row->rule == Rule::Open) {
                return;
            }
            break;
        }
        case CommandData::Record:
        case CommandData::Secret:
            break;
    }
    mask.hide(data_start, end);
}

// The values that a list asks for, back to back: false when the data are not as long as they.
bool CardMasking::mask_listed(const List& list, View data, std::size_t base, DigitMask& mask) {
    if (!list.known || listed_size(list.view()) != data.size()) {
        return false;
    }
    std::size_t at = 0;
    std::size_t from = 0;
    std::uint32_t tag = 0;
    std::size_t length = 0;
    while (next_listed(list.view(), at, tag, length)) {
        const View value = data.subspan(from, length);
        const Rule rule = rule_for(tag, value);
        if (rule == Rule::Secret) {
            mask.hide(base + from, base + from + length);
        } else if (rule == Rule::Digits) {
            for (std::size_t i = 0; i < 2 * length; ++i) {
                mask.hide_digit(2 * (base + from) + i);
            }
        }
        from += length;
    }
    return true;
}

void CardMasking::mask_answer(View data, bool more_follows, KnownSecrets& secrets,
                              DigitMask& mask) {
    if (data.empty()) {
        return;
    }
    const AnswerData kind = rule_ == nullptr ? AnswerData::Secret : rule_->answer;
    if (kind == AnswerData::Open) {
        return;
    }
    if (chain_overflowed_ || data.size() > chain_room - chain_size_) {
        chain_overflowed_ = true;
        mask.hide(0, data.size());
        return;
    }
    std::memcpy(chain_.data() + chain_size_, data.data(), data.size());
    chain_size_ += data.size();

    const std::uint8_t first = chain_[0];
    const bool whole = chain_size_ == data.size() && !more_follows;
    switch (kind) {
        case AnswerData::File:
            if (first == 0x6F || first == 0x61 || first == 0x62 || first == 0x64) {
                return mask_objects(data, more_follows, secrets, mask);
            }
            break;
        case AnswerData::Record:
            if (whole && mask_log_record(data, mask)) {
                return;
            }
            if (first == record_template) {
                return mask_objects(data, more_follows, secrets, mask);
            }
            break;
        case AnswerData::Result:
            if (first == format_1 && (!whole || covers_all(data))) {
                return;  // cryptograms, counters, locators
            }
            if (first == format_2) {
                return mask_objects(data, more_follows, secrets, mask);
            }
            break;
        case AnswerData::Element: {
            // The object as a whole, or, from some cards, its value alone.
            const std::uint32_t tag = tag_in_header(header_);
            const std::size_t tag_size = tag > 0xFF ? 2 : 1;
            if (chain_size_ > tag_size &&
                (tag_size == 1 ? tag == first
                               : tag == static_cast<std::uint32_t>(first << 8 | chain_[1]))) {
                return mask_objects(data, more_follows, secrets, mask);
            }
            const ElementRule* row = find_rule(tag);
            if (whole && row != nullptr && row->rule == Rule::Open && data.size() <= row->longest) {
                return;
            }
            break;
        }
        case AnswerData::Secret:
        case AnswerData::Open:
        case AnswerData::Continued:
            break;
    }
    mask.hide(0, data.size());
}

// `data` are the last bytes of the chain; the walk starts where the chain does.
void CardMasking::mask_objects(View data, bool more_follows, KnownSecrets& secrets,
                               DigitMask& mask) {
    const View chain = View(chain_).first(chain_size_);
    const std::size_t base = chain_size_ - data.size();
    const auto hide = [&](std::size_t from, std::size_t to) {
        if (to > base) {
            mask.hide(from > base ? from - base : 0, to - base);
        }
    };
    ElementWalk walk(chain);
    Element element;
    while (walk.next(element)) {
        const std::size_t end = walk.position();
        const View value = chain.subspan(std::min(element.value, end), end - element.value);
        const ElementRule* row = find_rule(element.tag);
        const bool account = row != nullptr && row->rule == Rule::Digits;
        if (element.is_cut && !(more_follows && row != nullptr && row->rule == Rule::Open &&
                                element.length <= row->longest)) {
            hide(element.value, end);  // not all of it is there to be judged
        } else if (!element.is_cut) {
            const Rule rule = rule_for(element.tag, value);
            if (rule == Rule::Secret) {
                hide(element.value, end);
            } else if (rule == Rule::Digits && end > base) {
                const std::size_t from = std::max(element.value, base) - base;
                mask_value(rule, data, from, end - base, mask);
            }
            learn(element.tag, value, secrets);
        }
        if (account && (element.length < row->shortest || element.length > row->longest)) {
            // An account number of such a length has lost its end, or took what follows.
            hide(element.value, chain.size());
            return;
        }
    }
    if (!more_follows || !walk.ends_in_header()) {
        hide(walk.position(), chain.size());
    }
}

// An entry of a transaction log has no tags: its fields are those of the log's format.
bool CardMasking::mask_log_record(View data, DigitMask& mask) const {
    if (mask_listed(log_format_, data, 0, mask)) {
        return true;
    }
    return data.size() > load_log_prefix &&
           mask_listed(load_log_format_, data.subspan(load_log_prefix), load_log_prefix, mask);
}

void CardMasking::learn(std::uint32_t tag, View value, KnownSecrets& secrets) {
    switch (tag) {
        case tag_pan:
        case tag_track_2:
        case tag_track_2_data:
            return secrets.learn_account(value);
        case 0x5F20:
        case 0x9F0B:
        case 0x9F61:
            return secrets.learn_text(value);
        case 0x9F38:
            return pdol_.keep(value);
        case 0x8C:
            return cdol1_.keep(value);
        case 0x8D:
            return cdol2_.keep(value);
        case 0x9F49:
            return ddol_.keep(value);
        case 0x9F4F:
            return log_format_.keep(value);
        case 0xDF4F:
            return load_log_format_.keep(value);
        case tag_df_name:
            if (rule_ != nullptr && rule_->answer == AnswerData::File &&
                value.size() <= application_.size()) {
                std::ranges::copy(value, application_.begin());
                application_size_ = value.size();
            }
            return;
        default:
            return;
    }
}

// A successful SELECT by name is a new application; its answer may still name it in full.
void CardMasking::note_selection(View command, View answer) {
    const std::size_t data_size = answer.size() - status_word_size;
    const std::uint8_t sw1 = answer[data_size];
    const CommandRule* rule = find_command_rule(command);
    const bool by_name = rule != nullptr && rule->answer == AnswerData::File && command[2] == 0x04;
    if (!by_name || (sw1 != 0x90 && sw1 != 0x61 && sw1 != 0x62) || command.size() <= data_start) {
        return;
    }
    const std::size_t size = command[header_size];
    if (size > command.size() - data_start || size > application_.size() || data_size != 0) {
        return;
    }
    std::copy_n(command.begin() + data_start, size, application_.begin());
    application_size_ = size;
}

}  // namespace quorrin::trace
