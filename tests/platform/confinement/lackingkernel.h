// Makes the kernel look like one, or a container, without Landlock or without seccomp.
// Thread: main, before it confines itself.

#pragma once

void pretendNoLandlock();
void pretendNoSeccomp();
