#!/bin/sh
# A box in the hands of an ordinary user: HOME is theirs, the session bus too. Prints a word for each
# thing that is as it should be.
printf 'a password' | gnome-keyring-daemon --unlock --components=secrets --foreground >/dev/null 2>&1 &
keyring=$!
trap 'fusermount3 -uz "$HOME/.vault/box" 2>/dev/null; kill $keyring' EXIT
gdbus wait --session --timeout 30 org.freedesktop.secrets || exit 1

mountpoint=$HOME/.vault/box
/usr/bin/vaultsm -c box && /usr/bin/vaultsm --upgrade || exit 1
echo content >"$mountpoint/file" && echo opened
fusermount3 -uz "$mountpoint" # taken away, not closed by the tool
[ "$(stat -c %a "$mountpoint")" = 500 ] && echo closed
mkdir "$mountpoint/folder" 2>/dev/null || echo guarded
/usr/bin/vaultsm -m box && [ "$(cat "$mountpoint/file")" = content ] && echo kept
/usr/bin/vaultsm -t box && [ "$(stat -c %a "$mountpoint")" = 500 ] && echo shut
