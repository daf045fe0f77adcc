/*
 * kry - cryptographic library.  Umbrella header: include this one and link
 * with -lkry.
 */
#ifndef KRY_H
#define KRY_H

#include <kry/export.h>
#include <kry/error.h>
#include <kry/stack.h>
#include <kry/digest.h>

#endif /* KRY_H */
