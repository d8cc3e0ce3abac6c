// What the decoders are measured with: a certificate, a CRL of twenty entries and a message with its token.
#ifndef BENCH_MATERIAL_H
#define BENCH_MATERIAL_H

#include "pkgsign/pkgsign.h"

struct Material {
    PkgsignBytes certificate;
    PkgsignBytes crl;
    PkgsignBytes message;
};

// The material, made with the first call. Ends the process when that fails.
const Material &TheMaterial();

#endif
