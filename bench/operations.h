// SPDX-FileCopyrightText: 2026 The Sigkit authors
// SPDX-License-Identifier: Apache-2.0

// The digests and signature checks of one verification, as a file: what any verifier of the same package must do.
//
// A file is a row of operations. Each is the OpenSSL name of its digest, with a NUL, in eight octets, and four pieces:
// modulus, exponent, data and signature. A digest alone has no modulus, exponent or signature. A piece is its length,
// in four octets of the machine's own order, and its octets.
#ifndef BENCH_OPERATIONS_H
#define BENCH_OPERATIONS_H

enum { OPERATION_NAME_SIZE = 8 };

enum OperationPiece { PIECE_MODULUS, PIECE_EXPONENT, PIECE_DATA, PIECE_SIGNATURE, OPERATION_PIECES };

#endif
