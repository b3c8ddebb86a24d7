#pragma once
// The user's encrypted boxes: what the tool's options do. Owner: the tool. Thread: main; every
// operation but exists() may wait for another run of the tool and for the user to answer a prompt.
// A failure leaves ciphertext and keys as they were.

#include "vault/boxes/boxplaces.h"
#include "vault/boxes/outcome.h"
#include "vault/encryption/boxbackend.h"
#include "vault/keys/keystore.h"

#include <string>
#include <vector>

namespace Vault
{
class MountPoint;

class Boxes
{
public:
    Boxes(BoxPlaces places, BoxBackend &backend, KeyStore &keys);

    /// Whether the box @p name was made; says nothing of its state.
    bool exists(const std::string &name) const;

    /// Makes the box @p name with a key of its own. Refuses to touch one that is there. What a
    /// killed run left is finished or begun anew: the key comes first and is used again, the
    /// ciphertext grows under another name and gets its own in one step.
    Outcome create(const std::string &name);

    /// Opens the box @p name; success too if it is open. A dead mount is taken away first.
    Outcome mount(const std::string &name);

    /// Closes the box @p name; success too if it is closed. Fails while a program uses it.
    Outcome unmount(const std::string &name);

    /// Opens every box and checks that what is written into it comes back. Goes on after a failure,
    /// tells all of them and closes again what it opened: whoever asked stores elsewhere then, and
    /// nobody else is to take the boxes for ready. Fails if there is no box.
    Outcome upgrade();

private:
    Outcome createLocked(const std::string &name);
    Outcome keyForNewBox(const std::string &name, std::optional<SecretKey> &key, bool &isNew);
    Outcome grow(const std::string &name, const SecretKey &key);
    Outcome mountLocked(const std::string &name);
    Outcome unmountLocked(const std::string &name);
    Outcome openClosed(const std::string &name, const MountPoint &mountPoint);
    std::vector<std::string> names() const;

    BoxPlaces m_places;
    BoxBackend &m_backend;
    KeyStore &m_keys;
};
} // namespace Vault
