#include "platform/posix/FileFacts.h"

namespace larkspan::platform {

EntryKind kindOfMode(mode_t mode) {
    if (S_ISREG(mode)) return EntryKind::file;
    if (S_ISDIR(mode)) return EntryKind::folder;
    if (S_ISLNK(mode)) return EntryKind::symbolicLink;
    return EntryKind::other;
}

Date dateFromTimespec(const timespec& time) {
    if (time.tv_sec >= unixSeconds(Date::max())) return Date::max();
    if (time.tv_sec <= unixSeconds(Date::min())) return Date::min();
    return dateFromUnixTime(time.tv_sec, time.tv_nsec);
}

timespec timespecFromDate(Date date) {
    constexpr long perSecond = 1'000'000'000;
    const long fraction = static_cast<long>(date.time_since_epoch().count() % perSecond);
    timespec time{};
    time.tv_sec = static_cast<time_t>(unixSeconds(date));
    time.tv_nsec = fraction < 0 ? fraction + perSecond : fraction;
    return time;
}

FileIdentity identityOf(const struct stat& status) {
    return {static_cast<std::uint64_t>(status.st_dev), static_cast<std::uint64_t>(status.st_ino)};
}

FileInfo infoFromStat(const struct stat& status) {
    return {.kind = kindOfMode(status.st_mode),
            .size = static_cast<std::uint64_t>(status.st_size),
            .modificationDate = dateFromTimespec(status.st_mtim),
            .attributeChangeDate = dateFromTimespec(status.st_ctim),
            .permissions = static_cast<unsigned>(status.st_mode & 07777),
            .owner = status.st_uid,
            .identity = identityOf(status)};
}

bool isUnchanged(const struct stat& before, const struct stat& after) {
    const timespec& then = before.st_mtim;
    const timespec& now = after.st_mtim;
    return identityOf(before) == identityOf(after) && before.st_size == after.st_size &&
           then.tv_sec == now.tv_sec && then.tv_nsec == now.tv_nsec;
}

std::optional<struct stat> statusAt(int folder, const char* name, int flags) {
    struct stat status {};
    if (::fstatat(folder, name, &status, flags) != 0) return {};
    return status;
}

std::optional<struct stat> statusOf(int descriptor) {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0) return {};
    return status;
}

}  // namespace larkspan::platform
