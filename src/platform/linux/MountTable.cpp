#include "platform/linux/MountTable.h"

#include "foundation/Text.h"

#include <algorithm>
#include <array>

namespace larkspan::platform {
namespace {

bool isOctal(char c) {
    return c >= '0' && c <= '7';
}

// Spaces and the like stand as a backslash and three octal digits, in both tables.
std::string unescaped(std::string_view text) {
    std::string result;
    for (size_t at = 0; at < text.size(); ++at) {
        const bool escape = text[at] == '\\' && at + 3 < text.size() && isOctal(text[at + 1]) &&
                            isOctal(text[at + 2]) && isOctal(text[at + 3]);
        if (!escape) {
            result.push_back(text[at]);
            continue;
        }
        const int code =
            (text[at + 1] - '0') * 64 + (text[at + 2] - '0') * 8 + (text[at + 3] - '0');
        result.push_back(static_cast<char>(code));
        at += 3;
    }
    return result;
}

std::vector<std::string> fieldsOf(std::string line) {
    std::ranges::replace(line, '\t', ' ');
    std::vector<std::string> fields = split(trimmed(line), ' ');
    std::erase(fields, "");
    return fields;
}

Path withoutSlashAtEnd(const Path& path) {
    return path / "";
}

bool isNetworkType(std::string_view type) {
    if (type.starts_with("fuse.")) type.remove_prefix(5);
    constexpr auto types = std::to_array<std::string_view>(
        {"nfs",    "nfs4", "cifs",   "smb3", "smbfs",      "sshfs",    "curlftpfs", "davfs",
         "davfs2", "9p",   "afs",    "ceph", "glusterfs",  "gpfs",     "lustre",    "beegfs",
         "ncpfs",  "coda", "rclone", "s3fs", "gvfsd-fuse", "orangefs", "moosefs"});
    return std::ranges::find(types, type) != types.end();
}

bool liesBelowOneOf(const std::vector<Path>& folders, const Path& point) {
    return std::ranges::any_of(folders, [&](const Path& folder) {
        return point.isWithin(folder) && !folder.isWithin(point);
    });
}

}  // namespace

std::vector<Mount> parseMountTable(std::string_view mountinfo) {
    // Id, parent, device, root, mount point, options, any number of further ones, "-", type,
    // source, options of the file system.
    constexpr size_t deviceField = 2;
    constexpr size_t rootField = 3;
    constexpr size_t pointField = 4;
    constexpr size_t firstOptionalField = 6;
    std::vector<Mount> mounts;
    for (const std::string& line : split(mountinfo, '\n')) {
        const std::vector<std::string> fields = split(line, ' ');
        if (fields.size() <= firstOptionalField) continue;
        const auto dash = std::find(fields.begin() + firstOptionalField, fields.end(), "-");
        if (fields.end() - dash < 3) continue;
        mounts.push_back({.point = Path(unescaped(fields[pointField])),
                          .root = Path(unescaped(fields[rootField])),
                          .type = unescaped(dash[1]),
                          .source = unescaped(dash[2]),
                          .device = fields[deviceField]});
    }
    return mounts;
}

std::vector<Path> parseConfiguredMountPoints(std::string_view fstab) {
    std::vector<Path> points;
    for (const std::string& line : split(fstab, '\n')) {
        const std::vector<std::string> fields = fieldsOf(line);
        if (fields.size() < 2 || fields[0].starts_with('#')) continue;
        const Path point = withoutSlashAtEnd(Path(unescaped(fields[1])));
        // Swap space has "none" for a mount point.
        if (point.isAbsolute() && point != Path("/")) points.push_back(point);
    }
    return points;
}

bool isSilentType(std::string_view type) {
    constexpr auto types = std::to_array<std::string_view>(
        {"fuse", "vboxsf", "prl_fs", "vmhgfs", "virtiofs", "ocfs2", "gfs2"});
    // A "fuseblk" is a disk of this machine.
    return isNetworkType(type) || type.starts_with("fuse.") ||
           std::ranges::find(types, type) != types.end();
}

MountKind kindOfMount(const Mount& mount, const std::vector<Path>& volumesFolders) {
    if (isNetworkType(mount.type)) return MountKind::network;
    // A part of a file system that is mounted once more is no volume of its own; subvolumes are.
    if (mount.root != Path("/") && mount.type != "btrfs") return MountKind::system;
    const bool onDevice = mount.source.starts_with("/dev/") || mount.type == "zfs";
    if (onDevice && mount.type != "squashfs" && mount.type != "devtmpfs") return MountKind::local;
    return liesBelowOneOf(volumesFolders, mount.point) ? MountKind::local : MountKind::system;
}

}  // namespace larkspan::platform
