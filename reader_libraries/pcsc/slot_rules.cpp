#include "reader_libraries/pcsc/slot_rules.hpp"

#include <algorithm>
#include <charconv>
#include <initializer_list>
#include <string_view>
#include <vector>

namespace quorrin::pcsc {
namespace {

constexpr bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

constexpr char upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

constexpr bool is_letter(char c) {
    return upper(c) >= 'A' && upper(c) <= 'Z';
}

bool same_letters(std::string_view one, std::string_view other) {
    return std::ranges::equal(one, other, {}, upper, upper);
}

bool has_part(std::string_view name, std::string_view part) {
    return std::search(name.begin(), name.end(), part.begin(), part.end(),
                       [](char one, char other) { return upper(one) == upper(other); }) !=
           name.end();
}

// Whether one of the words stands in the name by itself: "5422CL" and "SAM1" hold CL and SAM, "Samba"
// and "CLASS" do not. What stands in round brackets is a serial number.
bool has_word(std::string_view name, std::initializer_list<std::string_view> words) {
    bool in_serial = false;
    for (std::size_t i = 0; i < name.size();) {
        std::size_t end = i;
        while (end < name.size() && is_letter(name[end])) {
            ++end;
        }
        const std::string_view word = name.substr(i, end - i);
        if (!in_serial && std::ranges::any_of(words, [&](std::string_view wanted) {
                return same_letters(word, wanted);
            })) {
            return true;
        }
        if (end == i) {
            in_serial = name[i] == '(' || (in_serial && name[i] != ')');
            ++end;
        }
        i = end;
    }
    return false;
}

bool is_sam_reader(std::string_view name) {
    return has_word(name, {"SAM"});
}

bool is_contactless_reader(std::string_view name) {
    return has_word(name, {"PICC", "CONTACTLESS", "CL", "NFC", "RFID"});
}

// "#3": the number, or nothing where it is none.
std::optional<std::size_t> place_in_list(std::string_view wish) {
    if (wish.size() < 2 || wish[0] != '#' || !std::all_of(wish.begin() + 1, wish.end(), is_digit)) {
        return std::nullopt;
    }
    std::size_t place = 0;
    const auto read = std::from_chars(wish.data() + 1, wish.data() + wish.size(), place);
    return read.ec == std::errc() ? place : std::string_view::npos;
}

// One run of the rules: the readers that no slot has yet go down the list.
class Mapping {
  public:
    explicit Mapping(std::span<const std::string> names)
        : names_(names), taken_(names.size(), false) {}

    // Exact names, numbers and "none" come before parts of names, so that a part finds what is left.
    void take_exact_wishes(const SlotWishes& wishes) {
        for (std::size_t slot = 0; slot < slot_count; ++slot) {
            const std::string& wish = wishes[slot];
            if (wish.empty()) {
                continue;
            }
            const auto exact = std::ranges::find(names_, wish);
            const auto place = place_in_list(wish);
            if (exact != names_.end()) {
                give(slot, static_cast<std::size_t>(exact - names_.begin()),
                     SlotChoice::Configured);
            } else if (wish == "none") {
                map_[slot].choice = SlotChoice::NotWanted;
            } else if (place && *place < names_.size()) {
                give(slot, *place, SlotChoice::Configured);
            } else {
                map_[slot].choice = SlotChoice::NotFound;
            }
        }
    }

    void take_parts_of_names(const SlotWishes& wishes) {
        for (std::size_t slot = 0; slot < slot_count; ++slot) {
            if (map_[slot].choice == SlotChoice::NotFound && !place_in_list(wishes[slot])) {
                give_first(slot, SlotChoice::Configured,
                           [&](std::string_view name) { return has_part(name, wishes[slot]); });
            }
        }
    }

    // The first reader that is left and fits, for a slot that nothing has been said about.
    template <typename Fits>
    void fill(std::size_t slot, SlotChoice choice, Fits&& fits) {
        if (map_[slot].choice == SlotChoice::NoReader) {
            give_first(slot, choice, fits);
        }
    }

    [[nodiscard]] const SlotMap& map() const { return map_; }

  private:
    void give(std::size_t slot, std::size_t reader, SlotChoice choice) {
        map_[slot] = {reader, choice};
        taken_[reader] = true;
    }

    template <typename Fits>
    void give_first(std::size_t slot, SlotChoice choice, Fits&& fits) {
        for (std::size_t reader = 0; reader < names_.size(); ++reader) {
            if (!taken_[reader] && fits(names_[reader])) {
                give(slot, reader, choice);
                return;
            }
        }
    }

    std::span<const std::string> names_;
    std::vector<bool> taken_;
    SlotMap map_;
};

}  // namespace

SlotMap map_slots(std::span<const std::string> names, const SlotWishes& wishes) {
    Mapping mapping(names);
    mapping.take_exact_wishes(wishes);
    mapping.take_parts_of_names(wishes);

    for (std::size_t slot = first_sam_slot; slot < slot_count; ++slot) {
        mapping.fill(slot, SlotChoice::ByName, is_sam_reader);
    }
    const auto contactless = [](std::string_view name) {
        return is_contactless_reader(name) && !is_sam_reader(name);
    };
    const auto says_nothing = [](std::string_view name) {
        return !is_sam_reader(name) && !is_contactless_reader(name);
    };
    mapping.fill(contactless_slot, SlotChoice::ByName, contactless);
    mapping.fill(contact_slot, SlotChoice::FirstOfRest, says_nothing);
    mapping.fill(contactless_slot, SlotChoice::SecondOfRest, says_nothing);
    return mapping.map();
}

const char* reason_of(SlotChoice choice) {
    switch (choice) {
        case SlotChoice::NoReader:
            return "no reader left";
        case SlotChoice::NotWanted:
            return "configured: none";
        case SlotChoice::Configured:
            return "configured";
        case SlotChoice::NotFound:
            return "configured, but no such reader is there";
        case SlotChoice::ByName:
            return "by its name";
        case SlotChoice::FirstOfRest:
            return "the first reader left";
        case SlotChoice::SecondOfRest:
            return "another reader left";
    }
    return "";
}

}  // namespace quorrin::pcsc
