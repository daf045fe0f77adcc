/*
 * kry - cryptographic library.  Umbrella header: include this one and link
 * with -lkry.
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
