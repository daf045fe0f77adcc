#include "cli.h"
namespace kry_tool {
int cmd_selftest(int, char **) { return fail("selftest", "not available yet"); }
int cmd_kat(int, char **) { return fail("kat", "not available yet"); }
int cmd_speed(int, char **) { return fail("speed", "not available yet"); }
}  // namespace kry_tool
