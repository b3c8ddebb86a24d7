// Prints what the library says of this system.

#include "vault/vaultadm.h"

#include <cstdio>

int main()
{
    std::printf("%d", vault_enabled());
    return 0;
}
