#include "vaultdouble.h"

#include "vault/vaultadm.h"

namespace
{
int g_enabled = 0;
} // namespace

void VaultDouble::setEnabled(int enabled)
{
    g_enabled = enabled;
}

int vault_enabled()
{
    return g_enabled;
}
