#pragma once
// A disk that is soon full.

#include <sys/mount.h>

#include "support/tempfolder.h"

/// A file system in memory, of a few pages. It isn't there where none may be mounted.
struct SmallDisk {
    TempFolder folder;
    bool isThere = mount("none", folder.path.c_str(), "tmpfs", 0, "size=64k") == 0;

    SmallDisk() = default;
    ~SmallDisk() {
        if (isThere) {
            umount(folder.path.c_str());
        }
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    /// From now on nothing can be written to it. False if that can't be.
    [[nodiscard]] bool close() const {
        return mount("none", folder.path.c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, nullptr) == 0;
    }
};
