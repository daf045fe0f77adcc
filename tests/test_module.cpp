// Module calls: proven mode, the start-up hook and the gate, the platform
// hooks and the version text.  Each test states the flags it relies on.

#include <kry/error.h>

#include <gtest/gtest.h>

#include "foundation/common.h"

#include <cstring>

TEST(Module, IsProvenReadsTheFlag) {
    kry::flag_store(statusisproven, 1);
    EXPECT_EQ(IsProven(), 1);
    kry::flag_store(statusisproven, 0);
    EXPECT_EQ(IsProven(), 0);
    kry::flag_store(statusisproven, 1);
    EXPECT_EQ(IsProven(), 1);
}

TEST(Module, ChangeNonProvenModeLeavesProvenMode) {
    const uint8_t mode = test_mode, init = initialize_flag;
    ChangeNonProvenMode();
    EXPECT_EQ(statusisproven, 0);
    EXPECT_EQ(IsProven(), 0);
    ChangeNonProvenMode();  // stays out
    EXPECT_EQ(IsProven(), 0);
    EXPECT_EQ(test_mode, mode);  // the other flags are untouched
    EXPECT_EQ(initialize_flag, init);
}

TEST(Module, LumCryptoInitializeSettlesTheFlags) {
    kry::flag_store(test_mode, 0);
    kry::flag_store(initialize_flag, 1);
    EXPECT_EQ(LUMCryptoInitialize(), 0u);
    EXPECT_EQ(test_mode, 1);
    EXPECT_EQ(initialize_flag, 0);
}

TEST(Module, GateRunsTheHookOnlyWhileTestModeAndNotInitialized) {
    // test_mode 1, not initialised: the hook runs and clears initialize_flag.
    kry::flag_store(test_mode, 1);
    kry::flag_store(initialize_flag, 1);
    EXPECT_EQ(kry::test_mode_gate(), 0u);
    EXPECT_EQ(initialize_flag, 0);
    EXPECT_EQ(test_mode, 1);

    // Any nonzero initialize_flag counts.
    kry::flag_store(initialize_flag, 7);
    EXPECT_EQ(kry::test_mode_gate(), 0u);
    EXPECT_EQ(initialize_flag, 0);

    // test_mode 0: the gate does nothing at all.
    kry::flag_store(test_mode, 0);
    kry::flag_store(initialize_flag, 1);
    EXPECT_EQ(kry::test_mode_gate(), 0u);
    EXPECT_EQ(initialize_flag, 1);
    EXPECT_EQ(test_mode, 0);

    // Only the value 1 of test_mode opens the gate.
    kry::flag_store(test_mode, 2);
    EXPECT_EQ(kry::test_mode_gate(), 0u);
    EXPECT_EQ(initialize_flag, 1);

    // Initialised: the gate passes straight through.
    kry::flag_store(test_mode, 1);
    kry::flag_store(initialize_flag, 0);
    EXPECT_EQ(kry::test_mode_gate(), 0u);
    EXPECT_EQ(test_mode, 1);
    EXPECT_EQ(initialize_flag, 0);
}

TEST(Module, ChangeTestModeClearsBothGateFlags) {
    kry::flag_store(test_mode, 1);
    kry::flag_store(initialize_flag, 1);
    EXPECT_EQ(ChangeTestMode(), 0u);
    EXPECT_EQ(test_mode, 0);
    EXPECT_EQ(initialize_flag, 0);
}

TEST(Module, PlatformHooksDoNothing) {
    const uint8_t p = statusisproven, m = test_mode, i = initialize_flag;
    get_os_sysinfo();
    init_os_sysinfo();
    finalize_os_sysinfo();
    get_sysinfo_raw();
    EXPECT_EQ(statusisproven, p);
    EXPECT_EQ(test_mode, m);
    EXPECT_EQ(initialize_flag, i);
    // One entry under four names.
    EXPECT_EQ(&init_os_sysinfo, &get_os_sysinfo);
    EXPECT_EQ(&finalize_os_sysinfo, &get_os_sysinfo);
    EXPECT_EQ(&get_sysinfo_raw, &get_os_sysinfo);
}

TEST(Module, CryptoVersion) {
    ASSERT_NE(get_CryptoVersion(), nullptr);
    EXPECT_STREQ(get_CryptoVersion(), "5.0.9");
    EXPECT_EQ(std::strlen(get_CryptoVersion()), 5u);
    EXPECT_EQ(get_CryptoVersion(), get_CryptoVersion());  // a constant text
}
