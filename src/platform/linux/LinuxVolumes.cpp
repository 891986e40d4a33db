#include "platform/linux/LinuxVolumes.h"

#include "foundation/Text.h"
#include "platform/posix/SmallFile.h"

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/statvfs.h>

namespace larkspan::platform {
namespace {

// The longest of the folders that the path lies in; empty when it lies in none.
Path longestAround(const std::vector<Path>& folders, const Path& path) {
    Path longest;
    for (const Path& folder : folders) {
        const bool isLonger = folder.str().size() > longest.str().size();
        if (isLonger && path.isWithin(folder)) longest = folder;
    }
    return longest;
}

// "My Disk" of "My\x20Disk".
std::string unescaped(const std::string& text) {
    constexpr size_t length = 4;
    std::string plain;
    for (size_t at = 0; at < text.size(); ++at) {
        const std::string digits = text.substr(at).starts_with("\\x") ? text.substr(at + 2, 2) : "";
        char* end = nullptr;
        const long code = std::strtol(digits.c_str(), &end, 16);
        const bool isEscape = digits.size() == 2 && *end == '\0';
        plain += isEscape ? static_cast<char>(code) : text[at];
        if (isEscape) at += length - 1;
    }
    return plain;
}

// With the links in its existing part followed.
Path resolved(const Path& path) {
    std::error_code error;
    const auto target = std::filesystem::weakly_canonical(path.str(), error);
    return error ? path : Path(target.string());
}

// The points as the table of mounts has them, without links. One that is mounted is not looked at:
// its server may be gone, and would hold up the answer about all others.
std::vector<Path> asMounted(std::vector<Path> points, const std::vector<Mount>& mounted) {
    for (Path& point : points) {
        const bool isMounted =
            std::ranges::any_of(mounted, [&](const Mount& mount) { return mount.point == point; });
        if (!isMounted) point = resolved(point);
    }
    return points;
}

// udev keeps a link for each label, with special characters as \x20.
std::optional<std::string> labelOfDevice(const std::string& device) {
    namespace fs = std::filesystem;
    std::error_code error;
    for (const auto& link : fs::directory_iterator("/dev/disk/by-label", error)) {
        std::error_code ignored;
        if (fs::equivalent(link.path(), device, ignored)) return unescaped(link.path().filename());
    }
    return std::nullopt;
}

bool isRemovableDevice(const std::string& device) {
    // A partition's folder lies in its disk's, which has the file.
    const Path folder = Path("/sys/class/block") / Path(device).lastPathComponent();
    for (const Path& file : {folder / "removable", resolved(folder) / "../removable"}) {
        if (const auto text = readSmallFile(file)) return trimmed(*text) == "1";
    }
    return false;
}

}  // namespace

LinuxVolumes::LinuxVolumes(LinuxMainThread& mainThread, StandardPlaces& places,
                           VolumesTables tables)
    : mainThread_(mainThread), places_(places), tables_(std::move(tables)) {}

std::vector<Path> LinuxVolumes::volumesFolders() {
    std::string user = places_.userName();
    if (places_.userID() == 0) user = places_.consoleUser().value_or(user);
    return {Path("/Volumes"), Path("/media") / user, Path("/run/media") / user, Path("/mnt")};
}

std::vector<Mount> LinuxVolumes::mounts() const {
    constexpr size_t largest = 16UL * 1024 * 1024;
    return parseMountTable(readSmallFile(tables_.mounts, largest).value_or(std::string()));
}

std::vector<Path> LinuxVolumes::mountedLocalVolumes() {
    const std::vector<Path> folders = volumesFolders();
    std::set<Path> points;
    for (const Mount& mount : mounts()) {
        if (kindOfMount(mount, folders) == MountKind::local) points.insert(mount.point);
    }
    return {points.begin(), points.end()};
}

std::optional<VolumeFacts> LinuxVolumes::factsOfVolume(const Path& mountPoint) {
    std::optional<Mount> found;  // of several on one another the last is seen
    for (Mount& mount : mounts()) {
        if (mount.point == mountPoint) found = std::move(mount);
    }
    struct statvfs space {};
    if (!found || ::statvfs(mountPoint.c_str(), &space) != 0) return std::nullopt;
    const std::uint64_t block = space.f_frsize;
    return VolumeFacts{
        .mountPoint = mountPoint,
        .device = found->source,
        .name = labelOfDevice(found->source).value_or(mountPoint.lastPathComponent()),
        .fileSystemType = found->type,
        .totalSize = block * space.f_blocks,
        .freeSpace = block * space.f_bavail,
        .isWritable = (space.f_flag & ST_RDONLY) == 0,
        .isRemovable = isRemovableDevice(found->source)};
}

bool LinuxVolumes::isOnUnmountedVolume(const Path& path) {
    const std::vector<Path> configured =
        parseConfiguredMountPoints(readSmallFile(tables_.configuration).value_or(std::string()));
    if (configured.empty()) return false;
    const std::vector<Mount> mounted = mounts();
    const Path below = resolved(path);
    const Path point = longestAround(asMounted(configured, mounted), below);
    // Mounted, or something deeper on the way to the path is.
    return !point.empty() && std::ranges::none_of(mounted, [&](const Mount& mount) {
        return mount.point.isWithin(point) && below.isWithin(mount.point);
    });
}

std::set<Path> LinuxVolumes::volumes() {
    const std::vector<Path> folders = volumesFolders();
    std::set<Path> points;
    for (const Mount& mount : mounts()) {
        if (kindOfMount(mount, folders) != MountKind::system) points.insert(mount.point);
    }
    return points;
}

std::unique_ptr<Volumes::Observation> LinuxVolumes::observeMounts(MountObserver observer) {
    assert(mainThread_.isCurrent());
    if (!watch_) {
        // The kernel tells each opening of the table of the changes since its last poll.
        table_.reset(::open(tables_.mounts.c_str(), O_RDONLY | O_CLOEXEC));
        known_ = volumes();
        if (table_) {
            watch_ =
                mainThread_.watchDescriptorForPriority(table_.get(), [this] { mountsChanged(); });
        }
    }
    return observers_.add(std::move(observer));
}

void LinuxVolumes::mountsChanged() {
    std::set<Path> now = volumes();
    std::vector<Path> added;
    std::ranges::set_difference(now, known_, std::back_inserter(added));
    known_ = std::move(now);
    for (const Path& point : added) observers_.notify(point);
}

}  // namespace larkspan::platform
