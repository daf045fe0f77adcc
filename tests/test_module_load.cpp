// Module flags as the library is loaded, and the first gated call.  This
// file makes no other library call, so its process sees the load state.

#include <kry/error.h>

#include <gtest/gtest.h>

#include "foundation/common.h"

TEST(ModuleLoad, FlagsHoldOneThenFirstGatedCallInitializes) {
    // Nothing ran at load: every flag still holds its image value.
    EXPECT_EQ(statusisproven, 1);
    EXPECT_EQ(test_mode, 1);
    EXPECT_EQ(initialize_flag, 1);
    EXPECT_EQ(IsProven(), 1);

    // The first gated call runs LUMCryptoInitialize, which succeeds.
    EXPECT_EQ(kry::test_mode_gate(), 0u);
    EXPECT_EQ(test_mode, 1);
    EXPECT_EQ(initialize_flag, 0);
    EXPECT_EQ(statusisproven, 1);

    // Every later call passes straight through.
    EXPECT_EQ(kry::test_mode_gate(), 0u);
    EXPECT_EQ(test_mode, 1);
    EXPECT_EQ(initialize_flag, 0);
}
