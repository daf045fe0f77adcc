#include "cli.h"
namespace kry_tool {
int cmd_enc(int, char **) { return fail("enc", "not available yet"); }
int cmd_dec(int, char **) { return fail("dec", "not available yet"); }
int cmd_rand(int, char **) { return fail("rand", "not available yet"); }
}  // namespace kry_tool
