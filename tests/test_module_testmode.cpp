// ChangeTestMode switches the gate off for good, even if
// LUMCryptoInitialize turns test_mode on again afterwards.

#include <kry/error.h>

#include <gtest/gtest.h>

#include "foundation/common.h"

TEST(ModuleTestMode, ChangeTestModeThenInitialize) {
    EXPECT_EQ(ChangeTestMode(), 0u);
    EXPECT_EQ(test_mode, 0);
    EXPECT_EQ(initialize_flag, 0);
    EXPECT_EQ(statusisproven, 1);

    // The gate is off: nothing changes.
    EXPECT_EQ(kry::test_mode_gate(), 0u);
    EXPECT_EQ(test_mode, 0);
    EXPECT_EQ(initialize_flag, 0);

    // The hook turns test_mode back on but leaves initialize_flag at 0, so
    // the gate still never runs it.
    EXPECT_EQ(LUMCryptoInitialize(), 0u);
    EXPECT_EQ(test_mode, 1);
    EXPECT_EQ(initialize_flag, 0);
    EXPECT_EQ(kry::test_mode_gate(), 0u);
    EXPECT_EQ(test_mode, 1);
    EXPECT_EQ(initialize_flag, 0);

    // Calling it again changes nothing.
    EXPECT_EQ(ChangeTestMode(), 0u);
    EXPECT_EQ(test_mode, 0);
    EXPECT_EQ(initialize_flag, 0);
    EXPECT_EQ(statusisproven, 1);
}
