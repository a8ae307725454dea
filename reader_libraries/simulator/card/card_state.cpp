#include "reader_libraries/simulator/card/card_state.hpp"

namespace quorrin::simulator {

CardState issued_state(const CardProfile& profile) {
    CardState state;
    for (const ApplicationProfile& application : profile.applications) {
        ApplicationState issued;
        issued.blocked = application.blocked;
        issued.atc = application.first_atc;
        issued.last_online_atc = application.first_last_online_atc;
        issued.pin = application.pin;
        issued.pin_tries = application.pin_try_limit;
        issued.data = application.data;
        issued.records = application.records;
        if (application.transaction_log) {
            issued.transaction_log = application.transaction_log->records;
        }
        if (application.load_log) {
            issued.load_log = application.load_log->records;
        }
        state.applications.push_back(std::move(issued));
    }
    return state;
}

}  // namespace quorrin::simulator
