// Built in place of scankernelnumkong.cpp where the package usearch is not there.

#include "vectordb/matrix/scankernel.h"

namespace VectorDB
{
ScanKernel numKongScanKernel()
{
    return nullptr;
}
} // namespace VectorDB
