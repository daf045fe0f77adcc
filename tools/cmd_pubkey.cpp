#include "cli.h"
namespace kry_tool {
int cmd_genkey(int, char **) { return fail("genkey", "not available yet"); }
int cmd_sign(int, char **) { return fail("sign", "not available yet"); }
int cmd_verify(int, char **) { return fail("verify", "not available yet"); }
int cmd_encrypt(int, char **) { return fail("encrypt", "not available yet"); }
int cmd_decrypt(int, char **) { return fail("decrypt", "not available yet"); }
int cmd_keyinfo(int, char **) { return fail("keyinfo", "not available yet"); }
}  // namespace kry_tool
