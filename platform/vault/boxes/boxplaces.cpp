#include "vault/boxes/boxplaces.h"

#include <glib.h>

#include <algorithm>

namespace Vault
{
namespace
{
constexpr std::size_t LONGEST_NAME = 64;

bool isLetterOrDigit(char character)
{
    return g_ascii_isalnum(character);
}
} // namespace

BoxPlaces BoxPlaces::ofUser()
{
    return {std::filesystem::path(g_get_user_data_dir()) / "vaultsm",
            std::filesystem::path(g_get_home_dir()) / ".vault"};
}

bool BoxPlaces::isValidName(const std::string &name)
{
    return !name.empty() && name.size() <= LONGEST_NAME && isLetterOrDigit(name.front()) &&
           std::all_of(name.begin(), name.end(), [](char character) {
               return isLetterOrDigit(character) || character == '.' || character == '_' ||
                      character == '-';
           });
}
} // namespace Vault
