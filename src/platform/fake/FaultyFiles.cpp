#include "platform/fake/FaultyFiles.h"

namespace larkspan::platform {

class FaultyFiles::FaultyFolder final : public Folder {
  public:
    FaultyFolder(FaultyFiles& files, std::unique_ptr<Folder> folder, Path path)
        : files_(files), folder_(std::move(folder)), path_(std::move(path)) {}

    static Result<std::unique_ptr<Folder>> wrapped(FaultyFiles& files,
                                                   Result<std::unique_ptr<Folder>> folder,
                                                   const Path& path) {
        if (!folder) return folder;
        return std::unique_ptr<Folder>(
            std::make_unique<FaultyFolder>(files, std::move(*folder), path));
    }

    Result<std::vector<DirectoryEntry>> entries(const EntryFilter& filter, Sorted sorted) override {
        if (auto error = files_.refused(FileOperation::folderEntries, path_)) return *error;
        return folder_->entries(filter, sorted);
    }
    Result<std::unique_ptr<Folder>> openFolder(const std::string& name) override {
        if (auto error = files_.refused(FileOperation::openFolder, path_ / name)) return *error;
        return wrapped(files_, folder_->openFolder(name), path_ / name);
    }
    Result<FileInfo> info(const std::string& name) override {
        if (auto error = files_.refused(FileOperation::info, path_ / name)) return *error;
        return folder_->info(name);
    }
    Result<FileInfo> info() override {
        if (auto error = files_.refused(FileOperation::info, path_)) return *error;
        return folder_->info();
    }
    Result<std::string> readFile(const std::string& name, size_t largestSize) override {
        if (auto error = files_.refused(FileOperation::readFile, path_ / name)) return *error;
        return folder_->readFile(name, largestSize);
    }
    std::optional<Error> removeFile(const std::string& name) override {
        if (auto error = files_.refused(FileOperation::removeFile, path_ / name)) return error;
        return folder_->removeFile(name);
    }

  private:
    FaultyFiles& files_;
    std::unique_ptr<Folder> folder_;
    Path path_;
};

class FaultyFiles::FaultyWriter final : public FileWriter {
  public:
    FaultyWriter(FaultyFiles& files, std::unique_ptr<FileWriter> writer, Path path)
        : files_(files), writer_(std::move(writer)), path_(std::move(path)) {}

    std::optional<Error> write(std::string_view bytes) override {
        if (auto error = files_.refused(FileOperation::append, path_)) return error;
        return writer_->write(bytes);
    }

  private:
    FaultyFiles& files_;
    std::unique_ptr<FileWriter> writer_;
    Path path_;
};

void FaultyFiles::refuseCall(FileOperation operation, int n, int errorNumber) {
    state_.with([&](State& state) {
        Plan& plan = state.plans[operation];
        plan.refusals[plan.calls + n] = errorNumber;
    });
}

void FaultyFiles::refusePath(const Path& path, int errorNumber) {
    state_.with([&](State& state) { state.paths[path] = errorNumber; });
}

void FaultyFiles::beforeCall(FileOperation operation, Hook hook) {
    state_.with([&](State& state) { state.plans[operation].hook = std::move(hook); });
}

int FaultyFiles::callCount(FileOperation operation) const {
    return state_.with([&](const State& state) {
        const auto plan = state.plans.find(operation);
        return plan == state.plans.end() ? 0 : plan->second.calls;
    });
}

int FaultyFiles::refusal(FileOperation operation, const Path& path, const Path& second) {
    Hook hook;
    const int refusedWith = state_.with([&](State& state) {
        Plan& plan = state.plans[operation];
        const auto planned = plan.refusals.find(++plan.calls);
        if (planned != plan.refusals.end()) return planned->second;
        for (const auto& [refusedPath, errorNumber] : state.paths) {
            const bool touched =
                path.isWithin(refusedPath) || (!second.empty() && second.isWithin(refusedPath));
            if (touched && errorNumber != 0) return errorNumber;
        }
        hook = plan.hook;
        return 0;
    });
    if (hook) hook(path);
    return refusedWith;
}

std::optional<Error> FaultyFiles::refused(FileOperation operation, const Path& path,
                                          const Path& second) {
    const int errorNumber = refusal(operation, path, second);
    if (errorNumber == 0) return {};
    return posixError(errorNumber, path.str());
}

Result<FileInfo> FaultyFiles::info(const Path& path) {
    if (auto error = refused(FileOperation::info, path)) return *error;
    return files_.info(path);
}

Result<FileInfo> FaultyFiles::linkInfo(const Path& path) {
    if (auto error = refused(FileOperation::info, path)) return *error;
    return files_.linkInfo(path);
}

Result<Path> FaultyFiles::realPath(const Path& path) {
    if (auto error = refused(FileOperation::info, path)) return *error;
    return files_.realPath(path);
}

Result<std::vector<DirectoryEntry>> FaultyFiles::contentsOfFolder(const Path& folder) {
    if (auto error = refused(FileOperation::contentsOfFolder, folder)) return *error;
    return files_.contentsOfFolder(folder);
}

Result<std::unique_ptr<Folder>> FaultyFiles::openFolder(const Path& path) {
    if (auto error = refused(FileOperation::openFolder, path)) return *error;
    return FaultyFolder::wrapped(*this, files_.openFolder(path), path);
}

Result<std::string> FaultyFiles::readFile(const Path& path, size_t largestSize) {
    if (auto error = refused(FileOperation::readFile, path)) return *error;
    return files_.readFile(path, largestSize);
}

std::optional<Error> FaultyFiles::writeFileAtomically(const Path& path, std::string_view bytes) {
    if (auto error = refused(FileOperation::writeFileAtomically, path)) return error;
    return files_.writeFileAtomically(path, bytes);
}

Result<std::unique_ptr<FileWriter>> FaultyFiles::openForAppending(const Path& path) {
    if (auto error = refused(FileOperation::openForAppending, path)) return *error;
    auto writer = files_.openForAppending(path);
    if (!writer) return writer.error();
    return std::unique_ptr<FileWriter>(
        std::make_unique<FaultyWriter>(*this, std::move(*writer), path));
}

std::optional<Error> FaultyFiles::createFolder(const Path& path) {
    if (auto error = refused(FileOperation::createFolder, path)) return error;
    return files_.createFolder(path);
}

Result<std::unique_ptr<FolderLock>> FaultyFiles::lockFolder(const Path& folder, Seconds patience) {
    if (auto error = refused(FileOperation::lockFolder, folder)) return *error;
    return files_.lockFolder(folder, patience);
}

std::optional<Error> FaultyFiles::copyItem(const Path& source, const Path& target) {
    if (auto error = refused(FileOperation::copyItem, source, target)) return error;
    return files_.copyItem(source, target);
}

int FaultyFiles::removeAbandonedCopies(const Path& folder) {
    if (refusal(FileOperation::removeAbandonedCopies, folder) != 0) return 0;
    return files_.removeAbandonedCopies(folder);
}

std::optional<Error> FaultyFiles::moveItem(const Path& source, const Path& target) {
    if (auto error = refused(FileOperation::moveItem, source, target)) return error;
    return files_.moveItem(source, target);
}

std::optional<Error> FaultyFiles::removeItem(const Path& path) {
    if (auto error = refused(FileOperation::removeItem, path)) return error;
    return files_.removeItem(path);
}

std::optional<Error> FaultyFiles::removeEmptyFolder(const Path& path) {
    if (auto error = refused(FileOperation::removeItem, path)) return error;
    return files_.removeEmptyFolder(path);
}

std::optional<Error> FaultyFiles::setPermissions(const Path& path, unsigned permissions) {
    if (auto error = refused(FileOperation::setPermissions, path)) return error;
    return files_.setPermissions(path, permissions);
}

std::optional<Error> FaultyFiles::setModificationDate(const Path& path, Date date) {
    if (auto error = refused(FileOperation::setModificationDate, path)) return error;
    return files_.setModificationDate(path, date);
}

bool FaultyFiles::isLocked(const Path& path) {
    return files_.isLocked(path);
}

std::optional<Error> FaultyFiles::setLocked(const Path& path, bool locked) {
    if (auto error = refused(FileOperation::setLocked, path)) return error;
    return files_.setLocked(path, locked);
}

bool FaultyFiles::isWritable(const Path& path) {
    return refusal(FileOperation::access, path) == 0 && files_.isWritable(path);
}

bool FaultyFiles::isExecutable(const Path& path) {
    return refusal(FileOperation::access, path) == 0 && files_.isExecutable(path);
}

bool FaultyFiles::isDeletable(const Path& path) {
    return refusal(FileOperation::access, path) == 0 && files_.isDeletable(path);
}

std::string FaultyFiles::typeCode(const Path& path) {
    if (refusal(FileOperation::typeCode, path) != 0) return {};
    return files_.typeCode(path);
}

std::optional<Error> FaultyFiles::setTypeAndCreator(const Path& path, const std::string& type,
                                                    const std::string& creator) {
    if (auto error = refused(FileOperation::typeCode, path)) return error;
    return files_.setTypeAndCreator(path, type, creator);
}

bool FaultyFiles::contentsEqual(const Path& one, const Path& other) {
    return refusal(FileOperation::contentsEqual, one) == 0 && files_.contentsEqual(one, other);
}

std::optional<DiskSpace> FaultyFiles::diskSpace(const Path& path) {
    if (refusal(FileOperation::diskSpace, path) != 0) return {};
    return files_.diskSpace(path);
}

}  // namespace larkspan::platform
