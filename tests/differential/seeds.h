// The inputs that the comparison begins with.
#ifndef DIFFERENTIAL_SEEDS_H
#define DIFFERENTIAL_SEEDS_H

#include <string>
#include <vector>

#include "tests/support/der_writer.h"

// Every file of the fuzz corpora.
std::vector<std::string> CorpusFiles();
der::Bytes ContentOfFile(const std::string &path);

// The file as it is, and every element in it that begins with a SEQUENCE and ends within it, wherever it stands. PEM
// blocks are decoded first.
std::vector<der::Bytes> PiecesOf(const der::Bytes &file);

// Certificates, and CRLs, that both decoders accept: pieces of the corpora, and some with every member there is.
std::vector<der::Bytes> GoodCertificates();
std::vector<der::Bytes> GoodCrls();

#endif
