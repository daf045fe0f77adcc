/**
 * @file kry.h
 * @brief kry, a cryptographic library: the umbrella header.
 *
 * Include this one header and link with -lkry (pkg-config kry, or the CMake
 * target kry::kry).  It pulls in every public header: the toolkit (digests,
 * block ciphers, RC4, HMAC, CBC-MAC, big integers, random numbers, DSA, RSA,
 * KCDSA, key records, foundation helpers) and the context API (kry/api.h).
 */
#ifndef KRY_H
#define KRY_H

#include <kry/export.h>
#include <kry/error.h>
#include <kry/stack.h>
#include <kry/mempool.h>
#include <kry/stream.h>
#include <kry/digest.h>
#include <kry/blockcipher.h>
#include <kry/rc4.h>
#include <kry/hmac.h>
#include <kry/cbcmac.h>
#include <kry/bigint.h>
#include <kry/prng.h>
#include <kry/dsa.h>
#include <kry/rsa.h>
#include <kry/kcdsa.h>
#include <kry/key.h>
#include <kry/api.h>

#endif /* KRY_H */
