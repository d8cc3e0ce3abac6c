// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// Copies of DER signature messages. Certificates that come with a message stay in the store for the life of the
// context, so the octets that they point into must too, whatever the caller does with its buffer.
//
// They are no images: an image holds one of the context's 16 slots and stays for good. Copies are without number, and
// go as soon as no certificate points into them.
#ifndef VERIFY_LOAD_MESSAGE_COPY_H
#define VERIFY_LOAD_MESSAGE_COPY_H

#include <stdint.h>

#include "core/context.h"

// Head of a block; the message's octets follow it.
struct InternalMessageCopy {
    InternalMessageCopy *next;
};

// Copies `len` octets of a message. The name is part of the log: it makes no image.
//
//   copy  out, owned by the caller until InternalKeepMessageCopy or SigkitFree. Not written on failure.
//
// Returns SIGKIT_OK, or the code of the allocation or of the copy.
//
// Logs: every failure.
[[nodiscard]] uint32_t InternalNewImage(const uint8_t *data, uint32_t len, InternalMessageCopy **copy);

// Returns the octets of a copy.
[[nodiscard]] const uint8_t *InternalMessageCopyBytes(const InternalMessageCopy *copy);

// Hands a copy to a context, which frees it with itself.
void InternalKeepMessageCopy(SigkitVerifyCtx *ctx, InternalMessageCopy *copy);

// Frees the copies that a context got after `kept`; null frees all of them.
void InternalFreeMessageCopies(SigkitVerifyCtx *ctx, const InternalMessageCopy *kept);

#endif
