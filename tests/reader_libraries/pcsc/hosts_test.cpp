// The ways in which a host gets the reader library besides linking it, which is how these tests have it.

#include <cstdlib>

#include "reader_libraries/simulator/card/profile_card.hpp"
#include "tests/reader_libraries/pcsc/real_service_test.hpp"

namespace quorrin::test {
namespace {

class RealHosts : public RealService {
  protected:
    RealHosts() {
        insert(std::shared_ptr<simulator::CardDevice>(simulator::default_card()),
               t1_answer_to_reset);
    }
    // The host selects the debit card's application, and exits with 0 when the card answers.
    static int run_host(const std::string& before, const std::string& after) {
        return std::system(("timeout 20 env " + before + " " QUORRIN_HOST " " + after).c_str());
    }
};

TEST_F(RealHosts, OneThatOpensTheLibraryAtRunTimeMeetsTheCard) {
    EXPECT_EQ(run_host("", QUORRIN_PCSC_LIBRARY), 0);
    EXPECT_THAT(inserted->heard(), testing::Contains(testing::StartsWith("00A40400")));
}

TEST_F(RealHosts, OneThatHasTheLibraryPreloadedMeetsTheCard) {
    // The sanitizers' runtime would rather be the first library; the preloaded one is.
    EXPECT_EQ(
        run_host("ASAN_OPTIONS=verify_asan_link_order=0 LD_PRELOAD=" QUORRIN_PCSC_LIBRARY, ""), 0);
    EXPECT_THAT(inserted->heard(), testing::Contains(testing::StartsWith("00A40400")));
}

}  // namespace
}  // namespace quorrin::test
