// Module state: the three exported flags, the calls that change them, the
// start-up hook run by the test-mode gate, the platform hooks and the
// toolkit's version text.
//
// Nothing runs when the library is loaded: the flags are initialised in the
// image and the first gated toolkit call settles them (see test_mode_gate()
// in common.h).

#include "foundation/common.h"

extern "C" {

// Each flag holds 1 at load.  The library always accesses them through
// kry::flag_load / kry::flag_store.
KRY_API uint8_t statusisproven = 1;
KRY_API uint8_t test_mode = 1;
KRY_API uint8_t initialize_flag = 1;

KRY_API uint8_t IsProven(void) { return kry::flag_load(statusisproven); }

// Proven mode is left for the rest of the process; nothing turns it back on.
KRY_API void ChangeNonProvenMode(void) { kry::flag_store(statusisproven, 0); }

// Switches the gate off for good: with initialize_flag at 0 the gate never
// runs the start-up hook again.
KRY_API uint32_t ChangeTestMode(void) {
    kry::flag_store(test_mode, 0);
    kry::flag_store(initialize_flag, 0);
    return 0;
}

// The start-up hook.  This build performs no start-up check, so the hook
// always succeeds; it marks the module initialised.
KRY_API uint32_t LUMCryptoInitialize(void) {
    kry::flag_store(test_mode, 1);
    kry::flag_store(initialize_flag, 0);
    return 0;
}

// Platform information hook: nothing to do here.  One entry, exported under
// four names.
KRY_API void get_os_sysinfo(void) {}

#if defined(__ELF__)
KRY_API void init_os_sysinfo(void) __attribute__((alias("get_os_sysinfo")));
KRY_API void finalize_os_sysinfo(void) __attribute__((alias("get_os_sysinfo")));
KRY_API void get_sysinfo_raw(void) __attribute__((alias("get_os_sysinfo")));
#else
KRY_API void init_os_sysinfo(void) {}
KRY_API void finalize_os_sysinfo(void) {}
KRY_API void get_sysinfo_raw(void) {}
#endif

KRY_API const char *get_CryptoVersion(void) { return "5.0.9"; }

}  // extern "C"
