#include "reader_libraries/simulator/card/profile_card.hpp"

#include <algorithm>
#include <array>
#include <random>

#include "reader_libraries/simulator/card/application_selection.hpp"
#include "reader_libraries/simulator/card/card_data_commands.hpp"
#include "reader_libraries/simulator/card/card_instructions.hpp"
#include "reader_libraries/simulator/card/default_profile.hpp"
#include "reader_libraries/simulator/card/profile_loading.hpp"
#include "reader_libraries/simulator/card/record_reading.hpp"
#include "reader_libraries/simulator/card/state_keeping.hpp"
#include "reader_libraries/simulator/card/transaction_commands.hpp"

namespace quorrin::simulator {
namespace {

class ProfileCard final : public CardDevice {
  public:
    explicit ProfileCard(CardProfile profile)
        : profile_(std::move(profile)), state_(issued_state(profile_)) {
        if (profile_.state_file) {
            state_ = read_state(profile_, *profile_.state_file);
        }
    }

    ByteString power_on() override {
        end_session();
        recall_state();
        powered_ = true;
        return profile_.answer_to_reset;
    }

    void power_off() override {
        end_session();
        powered_ = false;
    }

    ByteString transmit(std::span<const std::uint8_t> bytes) override {
        if (!powered_) {
            return {};
        }
        const CardState before = state_;
        CardAnswer answer = execute(bytes);
        if (!(state_ == before) && !keep_state()) {
            answer = StatusWord::MemoryFailure;
        }
        return answer.encoded();
    }

  private:
    using Handler = CardAnswer (ProfileCard::*)(const CardCommand&);
    using SessionHandler = CardAnswer (*)(ApplicationSession&, const CardCommand&);

    // A command is one row; those of one instruction in several classes have several.
    struct Row {
        std::uint8_t cla;
        std::uint8_t ins;
        Handler handler;
    };
    static const std::array<Row, 23> rows;

    CardAnswer execute(std::span<const std::uint8_t> bytes) {
        const auto command = parse_command(bytes);
        if (!command) {
            return StatusWord::WrongLength;
        }
        if (state_.blocked && !ends_transaction(*command)) {
            return StatusWord::FunctionNotSupported;
        }
        if (session_ && command->ins != instruction::verify) {
            session_->challenge.reset();
        }
        const auto row = std::ranges::find_if(rows, [&](const Row& each) {
            return each.cla == command->cla && each.ins == command->ins;
        });
        if (row == rows.end()) {
            const bool known_class = std::ranges::find(rows, command->cla, &Row::cla) != rows.end();
            return known_class ? StatusWord::InstructionNotSupported
                               : StatusWord::ClassNotSupported;
        }
        return framed(*command, (this->*row->handler)(*command));
    }

    // ISO/IEC 7816-4 section 5.1: without Le no data come. An Le of less than there is gets 6Cxx where
    // the command can come again (those without data, which change nothing), else as much as it
    // asks for.
    static CardAnswer framed(const CardCommand& command, CardAnswer answer) {
        if (answer.data.size() <= command.expected) {
            return answer;
        }
        if (command.with_le && command.data.empty()) {
            return static_cast<StatusWord>(static_cast<std::uint16_t>(StatusWord::WrongLe) |
                                           (answer.data.size() & 0xFF));
        }
        answer.data.resize(command.expected);
        return answer;
    }

    // A card that is blocked in mid-transaction still ends it, with an AAC.
    [[nodiscard]] bool ends_transaction(const CardCommand& command) const {
        return session_ && session_->stage == TransactionStage::Online &&
               command.ins == instruction::generate_ac;
    }

    CardAnswer select(const CardCommand& command) {
        constexpr std::uint8_t by_name = 0x04;
        constexpr std::uint8_t next_occurrence = 0x02;
        constexpr std::size_t longest_name = 16;
        if (command.p1 != by_name || (command.p2 != 0 && command.p2 != next_occurrence)) {
            return StatusWord::WrongParameters;
        }
        const bool header_and_le =
            command.data.empty() && command.with_le && command.expected != 256;
        if (command.data.size() > longest_name || header_and_le) {
            return StatusWord::WrongLength;
        }
        const auto found =
            find_selection(profile_, selection_, command.data, command.p2 == next_occurrence);
        if (!found) {
            return StatusWord::FileNotFound;
        }
        end_session();
        selection_ = *found;
        if (std::holds_alternative<ContactDirectorySelected>(selection_)) {
            return contact_directory_fci(profile_);
        }
        if (std::holds_alternative<ContactlessDirectorySelected>(selection_)) {
            return contactless_directory_fci(profile_);
        }
        return open_application(std::get<ApplicationSelected>(selection_).index);
    }

    CardAnswer open_application(std::size_t index) {
        const ApplicationProfile& application = profile_.applications[index];
        ApplicationState& state = state_.applications[index];
        session_.emplace(ApplicationSession{profile_, application, state_, state});
        return CardAnswer(application_fci(application), state.blocked
                                                            ? StatusWord::SelectedFileInvalidated
                                                            : StatusWord::Success);
    }

    CardAnswer read_record(const CardCommand& command) {
        const auto address = record_address(command);
        if (!address) {
            return StatusWord::WrongParameters;
        }
        if (!command.data.empty()) {
            return StatusWord::WrongLength;
        }
        if (std::holds_alternative<ContactDirectorySelected>(selection_)) {
            return read_directory(profile_, address->file, address->number);
        }
        if (!session_) {
            return StatusWord::ConditionsNotSatisfied;
        }
        return simulator::read_record(*session_, *address);
    }

    CardAnswer get_challenge(const CardCommand& command) {
        if (command.parameters() != 0) {
            return StatusWord::WrongParameters;
        }
        if (!command.data.empty()) {
            return StatusWord::WrongLength;
        }
        std::random_device random;
        ByteString challenge(8);
        std::ranges::generate(challenge, [&] { return static_cast<std::uint8_t>(random()); });
        if (session_) {
            session_->challenge = challenge;
        }
        return challenge;
    }

    CardAnswer get_data(const CardCommand& command) {
        if (!session_) {
            return StatusWord::ConditionsNotSatisfied;
        }
        return simulator::get_data(*session_, command);
    }

    template <SessionHandler Handle>
    CardAnswer in_application(const CardCommand& command) {
        if (!session_) {
            return StatusWord::ConditionsNotSatisfied;
        }
        return Handle(*session_, command);
    }

    void end_session() {
        session_.reset();
        selection_ = NothingSelected{};
    }

    // Another slot may hold the same card, and it may have been used meanwhile. A file spoilt
    // meanwhile leaves the card with what it knows.
    void recall_state() {
        if (profile_.state_file) {
            if (auto kept = read_or_set_aside(profile_, *profile_.state_file)) {
                state_ = *std::move(kept);
            }
        }
    }

    [[nodiscard]] bool keep_state() const {
        if (!profile_.state_file) {
            return true;
        }
        (void)read_or_set_aside(profile_, *profile_.state_file);
        return write_state(profile_, state_, *profile_.state_file);
    }

    CardProfile profile_;
    CardState state_;
    bool powered_ = false;
    Selection selection_;
    std::optional<ApplicationSession> session_;
};

const std::array<ProfileCard::Row, 23> ProfileCard::rows{{
    {0x00, instruction::select, &ProfileCard::select},
    {0x00, instruction::read_record, &ProfileCard::read_record},
    {0x00, instruction::get_challenge, &ProfileCard::get_challenge},
    {0x00, instruction::verify, &ProfileCard::in_application<verify>},
    {0x00, instruction::external_authenticate, &ProfileCard::in_application<external_authenticate>},
    {0x00, instruction::internal_authenticate, &ProfileCard::in_application<internal_authenticate>},
    {0x80, instruction::get_processing_options,
     &ProfileCard::in_application<get_processing_options>},
    {0x80, instruction::generate_ac, &ProfileCard::in_application<generate_ac>},
    {0x80, instruction::get_data, &ProfileCard::get_data},
    {0x84, instruction::application_block, &ProfileCard::in_application<script_command>},
    {0x84, instruction::application_unblock, &ProfileCard::in_application<script_command>},
    {0x84, instruction::card_block, &ProfileCard::in_application<script_command>},
    {0x84, instruction::pin_change_unblock, &ProfileCard::in_application<script_command>},
    {0x84, instruction::put_data, &ProfileCard::in_application<script_command>},
    {0x84, instruction::update_record, &ProfileCard::in_application<script_command>},
    {0x8C, instruction::application_block, &ProfileCard::in_application<script_command>},
    {0x8C, instruction::application_unblock, &ProfileCard::in_application<script_command>},
    {0x8C, instruction::card_block, &ProfileCard::in_application<script_command>},
    {0x8C, instruction::pin_change_unblock, &ProfileCard::in_application<script_command>},
    {0x8C, instruction::put_data, &ProfileCard::in_application<script_command>},
    {0x8C, instruction::update_record, &ProfileCard::in_application<script_command>},
    {0x04, instruction::put_data, &ProfileCard::in_application<script_command>},
    {0x04, instruction::update_record, &ProfileCard::in_application<script_command>},
}};

}  // namespace

std::unique_ptr<CardDevice> card_of(CardProfile profile) {
    return std::make_unique<ProfileCard>(std::move(profile));
}

std::unique_ptr<CardDevice> load_card(const Section& section) {
    return card_of(load_profile(section));
}

std::unique_ptr<CardDevice> load_card_file(const std::filesystem::path& file) {
    return load_card(read_configuration(file));
}

std::unique_ptr<CardDevice> default_card() {
    return load_card(parse_configuration(
        default_profile, "reader_libraries/simulator/profiles/debit.toml (built in)"));
}

}  // namespace quorrin::simulator
