#include "vault/boxes/boxes.h"

#include "vault/boxes/boxlock.h"
#include "vault/boxes/mountpoint.h"
#include "vault/boxes/roundtrip.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <system_error>
#include <utility>

namespace Vault
{
namespace
{
namespace fs = std::filesystem;

Outcome cannot(const std::string &doing, const fs::path &path)
{
    return Outcome::failure("cannot " + doing + ' ' + path.string() + ": " + std::strerror(errno));
}

// So that a loss of power keeps the order of what was done.
void writeDown(const fs::path &path)
{
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor >= 0) {
        fsync(descriptor);
        close(descriptor);
    }
}

void writeDownWithFiles(const fs::path &folder)
{
    std::error_code error;
    for (const fs::directory_entry &file : fs::directory_iterator(folder, error)) {
        writeDown(file.path());
    }
    writeDown(folder);
}

Outcome missing(const std::string &name)
{
    return Outcome::failure("there is no box " + name);
}
} // namespace

Boxes::Boxes(BoxPlaces places, BoxBackend &backend, KeyStore &keys)
    : m_places(std::move(places)), m_backend(backend), m_keys(keys)
{
}

bool Boxes::exists(const std::string &name) const
{
    std::error_code error;
    return fs::is_directory(m_places.cipher(name), error);
}

Outcome Boxes::create(const std::string &name)
{
    if (exists(name)) {
        return Outcome::failure("the box " + name + " is there already, in " +
                                m_places.cipher(name).string() + ", and stays as it is");
    }
    if (Outcome usable = m_backend.isUsable(); !usable) {
        return usable;
    }
    if (Outcome unlocked = m_keys.unlock(); !unlocked) {
        return unlocked;
    }
    BoxLock lock;
    if (Outcome locked = lock.take(m_places.lock()); !locked) {
        return locked;
    }
    Outcome created = exists(name) ? Outcome::success() // made by the run that was waited for
                                   : createLocked(name);
    if (!created && names().empty()) {
        lock.discard();
    }
    return created;
}

Outcome Boxes::createLocked(const std::string &name)
{
    std::optional<SecretKey> key;
    bool isNew = false;
    if (Outcome found = keyForNewBox(name, key, isNew); !found) {
        return found;
    }
    Outcome grown = grow(name, *key);
    if (!grown && isNew) {
        if (Outcome forgotten = m_keys.forget(name); !forgotten) {
            return Outcome::failure(grown.reason() + "; " + forgotten.reason());
        }
    }
    return grown;
}

Outcome Boxes::keyForNewBox(const std::string &name, std::optional<SecretKey> &key, bool &isNew)
{
    // A key without a box: a run was killed, or the ciphertext is somewhere else for now. Used
    // again it opens both.
    if (Outcome found = m_keys.find(name, key); !found || key) {
        return found;
    }
    key = SecretKey::random();
    if (!key) {
        return Outcome::failure("the system gives no random bytes");
    }
    isNew = true;
    if (Outcome kept = m_keys.keep(name, *key); !kept) {
        return kept;
    }
    std::optional<SecretKey> found;
    if (Outcome asked = m_keys.find(name, found); !asked) {
        return asked;
    }
    return found && *found == *key
               ? Outcome::success()
               : Outcome::failure("the Secret Service does not give back the key of the box " +
                                  name);
}

Outcome Boxes::grow(const std::string &name, const SecretKey &key)
{
    const fs::path unfinished = m_places.unfinished(name);
    const fs::path cipher = m_places.cipher(name);
    std::error_code error;
    fs::remove_all(unfinished, error); // never mounted, so it holds no data
    if (mkdir(unfinished.c_str(), 0700) != 0) {
        return cannot("make", unfinished);
    }
    Outcome outcome = m_backend.initialise(unfinished, key);
    if (outcome) {
        writeDownWithFiles(unfinished);
        if (renameat2(AT_FDCWD, unfinished.c_str(), AT_FDCWD, cipher.c_str(), RENAME_NOREPLACE) !=
            0) {
            outcome = cannot("make", cipher);
        }
    }
    if (outcome) {
        writeDown(m_places.dataDirectory);
    } else {
        fs::remove_all(unfinished, error);
    }
    return outcome;
}

Outcome Boxes::mount(const std::string &name)
{
    if (!exists(name)) {
        return missing(name);
    }
    BoxLock lock;
    if (Outcome locked = lock.take(m_places.lock()); !locked) {
        return locked;
    }
    return mountLocked(name);
}

Outcome Boxes::mountLocked(const std::string &name)
{
    const MountPoint mountPoint(m_places.mountPoint(name));
    switch (mountPoint.state()) {
    case MountPoint::State::Open:
        return Outcome::success();
    case MountPoint::State::Foreign:
        return Outcome::failure("something else is mounted at " + mountPoint.path().string());
    case MountPoint::State::Dead:
        if (Outcome gone = m_backend.unmount(mountPoint.path(), true); !gone) {
            return gone;
        }
        break;
    case MountPoint::State::Closed:
        break;
    }
    return openClosed(name, mountPoint);
}

Outcome Boxes::openClosed(const std::string &name, const MountPoint &mountPoint)
{
    const fs::path cipher = m_places.cipher(name);
    if (Outcome usable = m_backend.isUsable(); !usable) {
        return usable;
    }
    if (Outcome intact = m_backend.isIntact(cipher); !intact) {
        return intact;
    }
    std::optional<SecretKey> key;
    if (Outcome found = m_keys.find(name, key); !found) {
        return found;
    }
    if (!key) {
        return Outcome::failure("the key of the box " + name +
                                " is lost, the Secret Service does not have it; " +
                                cipher.string() + " stays as it is");
    }
    return mountPoint.open([&] { return m_backend.mount(cipher, mountPoint.path(), *key); });
}

Outcome Boxes::unmount(const std::string &name)
{
    if (!exists(name)) {
        return missing(name);
    }
    BoxLock lock;
    if (Outcome locked = lock.take(m_places.lock()); !locked) {
        return locked;
    }
    return unmountLocked(name);
}

Outcome Boxes::unmountLocked(const std::string &name)
{
    const MountPoint mountPoint(m_places.mountPoint(name));
    const MountPoint::State state = mountPoint.state();
    Outcome outcome = Outcome::success();
    if (state == MountPoint::State::Open || state == MountPoint::State::Dead) {
        outcome = m_backend.unmount(mountPoint.path(), state == MountPoint::State::Dead);
    }
    mountPoint.close();
    return outcome;
}

std::vector<std::string> Boxes::names() const
{
    std::vector<std::string> names;
    std::error_code error;
    for (const fs::directory_entry &entry : fs::directory_iterator(m_places.dataDirectory, error)) {
        const std::string name = entry.path().filename().string();
        if (BoxPlaces::isValidName(name) && exists(name)) {
            names.push_back(name);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

Outcome Boxes::upgrade()
{
    const std::vector<std::string> boxes = names();
    if (boxes.empty()) {
        return Outcome::failure("there is no box");
    }
    BoxLock lock;
    if (Outcome locked = lock.take(m_places.lock()); !locked) {
        return locked;
    }
    std::string reasons;
    const auto note = [&reasons](const Outcome &outcome) {
        if (!outcome) {
            reasons += (reasons.empty() ? "" : "; ") + outcome.reason();
        }
    };
    std::vector<std::string> opened;
    for (const std::string &name : boxes) {
        const MountPoint mountPoint(m_places.mountPoint(name));
        const bool wasOpen = mountPoint.state() == MountPoint::State::Open;
        Outcome ready = mountLocked(name);
        if (ready && !wasOpen) {
            opened.push_back(name);
        }
        note(ready ? RoundTrip::check(mountPoint.path()) : ready);
    }
    if (reasons.empty()) {
        return Outcome::success();
    }
    for (const std::string &name : opened) {
        note(unmountLocked(name));
    }
    return Outcome::failure(reasons);
}
} // namespace Vault
