#pragma once
// Whether this system has an encrypted box: the interface of the desktop's library of that name.
// Owner: nobody. Thread: any, but it asks the session bus, so not while that is in doubt.

#ifdef __cplusplus
extern "C" {
#endif

/// 1 where a box can be made and opened: gocryptfs, FUSE and a Secret Service are there, the latter
/// running or ready to be started by the session bus. Else 0. Blocks for the bus, 2 s at most, and
/// starts nothing.
int vault_enabled(void);

#ifdef __cplusplus
}
#endif
