#pragma once
// NumKong's kernel of the npm package usearch, as a measure for the store's own one. Any thread.

#include "vectordb/matrix/scankernel.h"

/// Null where the package was not there at build time or its kernel is not for this processor.
VectorDB::ScanKernel numKongScanKernel();
