// HAS-160 block function selection: the BMI2 build of the block function is
// chosen at run time (CPUID) when the processor has BMI2 and the path has not
// been switched off with use_bmi2(false) (tests use that to run the portable
// build too).
#ifndef KRY_SRC_DIGEST_HAS160_H
#define KRY_SRC_DIGEST_HAS160_H

#include <atomic>

namespace kry::has160 {

#if defined(__x86_64__)
// Settled on first use (-1 until then) and again by use_bmi2().
extern std::atomic<signed char> bmi2_state;
bool settle_bmi2();
inline bool has_bmi2() {
    const signed char s = bmi2_state.load(std::memory_order_relaxed);
    if (s < 0) [[unlikely]]
        return settle_bmi2();
    return s != 0;
}
#else
inline bool has_bmi2() { return false; }
#endif
void use_bmi2(bool enabled);

}  // namespace kry::has160

#endif  // KRY_SRC_DIGEST_HAS160_H
