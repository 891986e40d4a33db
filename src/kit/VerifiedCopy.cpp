#include "kit/ConsoleReport.h"
#include "kit/CopyDestination.h"
#include "kit/FileCopy.h"
#include "kit/ZBFileManager.h"
#include "platform/FileStreams.h"
#include "platform/Files.h"
#include "platform/Platform.h"

#include <new>

namespace larkspan {
namespace {

constexpr std::uint64_t reportStep = 41943040;  // 40 MiB
// Larger blocks leave the processor's cache before they are compared.
constexpr size_t blockSize = copyChunkSize;
static_assert(reportStep % blockSize == 0 && blockSize % copyChunkSize == 0);

platform::Platform& current() {
    return platform::Platform::current();
}

std::optional<Digest> newDigest(VerificationType type) {
    switch (type) {
        case VerificationType::md5:
            return Digest(Digest::Algorithm::md5);
        case VerificationType::sha1:
            return Digest(Digest::Algorithm::sha1);
        case VerificationType::none:
            break;
    }
    return std::nullopt;
}

class VerifiedCopy {
  public:
    VerifiedCopy(const Path& source, const std::vector<Path>& destinations, VerificationType type,
                 FileCopyDelegate* delegate, const FileCopyObjects& objects)
        : source_(source), delegate_(delegate), digest_(newDigest(type)) {
        Value::Array paths;
        for (const Path& path : destinations) paths.emplace_back(path.str());
        settings_ = {{"source", source.str()},
                     {"destinations", std::move(paths)},
                     {"operationtype", "copy"}};
        if (objects.object) settings_.emplace("object", *objects.object);
        if (objects.object2) settings_.emplace("object2", *objects.object2);
    }

    bool run(const std::vector<Path>& destinations) {
        if (!prepareFolders(destinations) || !openAll(destinations)) return false;
        const bool cancelled = !copyAll();
        closeAll();
        if (cancelled) return false;
        if (total_ < sourceSize_) {
            reportToConsole("Error: copied file size does not match original source %@", source_);
            return false;
        }
        if (delegate_) delegate_->fileCopyBytesWritten(total_, settings_);
        compareChecksums();
        copyAttributes();
        if (delegate_) delegate_->fileCopyFinished(settings_);
        return true;
    }

  private:
    bool prepareFolders(const std::vector<Path>& destinations) const {
        for (const Path& destination : destinations) {
            const Path folder = destination.deletingLastPathComponent();
            constexpr std::chrono::seconds timeout{10};
            if (folder.empty() || current().files.exists(folder) ||
                ZBFileManager::createDirectory(folder, timeout)) {
                continue;
            }
            reportToConsole(
                "Unable to copy file %@ - destination directory %@ doesn't exist. "
                "Aborting copy process...",
                source_, folder);
            return false;
        }
        return true;
    }

    bool openAll(const std::vector<Path>& destinations) {
        auto opened = current().streams.openForReading(source_);
        const auto info = current().files.info(source_);
        if (!opened || !info) {
            reportToConsole("Error: Unable to read source file %@. Aborting copy process...",
                            source_);
            return false;
        }
        stream_ = std::move(*opened);
        sourceSize_ = info->size;
        for (const Path& destination : destinations) {
            // Opening the source itself as a destination would empty it.
            const auto there = current().files.info(destination);
            const bool isSource = there && there->identity == info->identity;
            auto target = isSource ? Result<std::unique_ptr<platform::FileStream>>(Error{})
                                   : current().streams.openEmptied(destination);
            if (!target) {
                reportToConsole(
                    "Error: Unable to open destination file %@. Aborting copy process...",
                    destination);
                return false;
            }
            targets_.emplace_back(destination, std::move(*target), digest_.has_value());
        }
        return true;
    }

    // False when the delegate cancelled.
    bool copyAll() {
        std::vector<char> block(blockSize);
        std::uint64_t reported = 0;
        for (;;) {
            const std::string_view bytes = readBlock(block);
            // A copy in chunks meets the end as a chunk of nothing when the last one was full.
            const bool isEnd = bytes.size() < blockSize;
            if (isEnd && bytes.size() % copyChunkSize == 0)
                reportToConsole("%@ returned 0 bytes", source_);
            for (CopyDestination& target : targets_) target.add(bytes, total_, digest_);
            if (digest_) digest_->add(bytes);
            total_ += bytes.size();
            if (total_ - reported >= reportStep) {
                reported = total_;
                if (!goesOn()) return false;
            }
            if (isEnd) return true;
        }
    }

    std::string_view readBlock(std::vector<char>& block) {
        const auto count = stream_->readAt(total_, block);
        return {block.data(), count ? *count : 0};
    }

    bool goesOn() {
        if (!delegate_) return true;
        delegate_->fileCopyBytesWritten(total_, settings_);
        return delegate_->fileCopyShouldContinue(settings_);
    }

    void closeAll() {
        stream_.reset();
        for (CopyDestination& target : targets_) target.close();
    }

    void compareChecksums() {
        if (!digest_) return;
        const std::string expected = digest_->hexadecimal();
        settings_.insert_or_assign("sourceChecksum", expected);
        Value::Array checksums;
        for (const CopyDestination& target : targets_) {
            const std::string checksum = target.checksum(*digest_);
            checksums.emplace_back(checksum);
            if (checksum == expected || !delegate_) continue;
            settings_.insert_or_assign("destChecksum", checksum);
            delegate_->fileCopyVerificationFailed(settings_, target.path());
        }
        settings_.insert_or_assign("destChecksums", std::move(checksums));
    }

    void copyAttributes() const {
        if (!current().files.info(source_)) {
            return reportToConsole("Error getting metadata for file %@", source_);
        }
        for (const CopyDestination& target : targets_) {
            if (current().streams.copyAttributes(source_, target.path())) {
                reportToConsole("Error setting metadata for file %@", target.path());
            }
        }
    }

    const Path& source_;
    FileCopyDelegate* const delegate_;
    std::optional<Digest> digest_;  // of what was read so far
    FileCopyDelegate::Settings settings_;
    std::unique_ptr<platform::FileStream> stream_;
    std::vector<CopyDestination> targets_;
    std::uint64_t sourceSize_ = 0;
    std::uint64_t total_ = 0;  // bytes read so far
};

}  // namespace

bool ZBFileManager::copyFileWithProgress(const Path& file, const std::vector<Path>& destinations,
                                         VerificationType verificationType,
                                         FileCopyDelegate* delegate,
                                         const FileCopyObjects& objects) {
    if (!current().files.exists(file)) {
        reportToConsole("Error: File %@ doesn't exist. Aborting copy process...", file);
        return false;
    }
    if (destinations.empty()) {
        reportToConsole("Error: You must have at least one destination. Aborting copy process...");
        return false;
    }
    try {
        VerifiedCopy copy(file, destinations, verificationType, delegate, objects);
        return copy.run(destinations);
    } catch (const std::bad_alloc&) {
        reportToConsole("Error copying file %@ - out of memory", file);
        return false;
    }
}

bool ZBFileManager::copyFileWithProgress(const Path& file, const Path& destination,
                                         FileCopyDelegate* delegate,
                                         const FileCopyObjects& objects) {
    return copyFileWithProgress(file, std::vector<Path>{destination}, VerificationType::none,
                                delegate, objects);
}

std::string ZBFileManager::md5HashWithContext(const Digest& context) {
    return context.hexadecimal();
}
std::string ZBFileManager::sha1HashWithContext(const Digest& context) {
    return context.hexadecimal();
}

}  // namespace larkspan
