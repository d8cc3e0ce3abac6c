// Images of DER signature messages. Certificates that come with a message stay in the store for the life of the
// context, so the octets that they point into must too, whatever the caller does with its buffer.
#ifndef VERIFY_LOAD_IMAGE_H
#define VERIFY_LOAD_IMAGE_H

#include <stdint.h>

#include "core/context.h"

// Head of a block; the image's octets follow it.
struct InternalImage {
    InternalImage *next;
};

// Copies `len` octets into a new image.
//
//   image  out, owned by the caller until InternalKeepImage or SigkitFree. Not written on failure.
//
// Returns SIGKIT_OK, or the code of the allocation or of the copy.
//
// Logs: every failure.
[[nodiscard]] uint32_t InternalNewImage(const uint8_t *data, uint32_t len, InternalImage **image);

// Returns the octets of an image.
[[nodiscard]] const uint8_t *InternalImageBytes(const InternalImage *image);

// Hands an image to a context, which frees it with itself.
void InternalKeepImage(SigkitVerifyCtx *ctx, InternalImage *image);

// Frees the images that a context got after `kept`; null frees all of them.
void InternalFreeImages(SigkitVerifyCtx *ctx, const InternalImage *kept);

#endif
