#pragma once

#include "platform/Files.h"

#include <memory>
#include <ostream>
#include <string>

#include <gmock/gmock.h>

namespace larkspan::testing {

// A file system with an empty folder in it, and what tests need beyond the service.
class FilesUnderTest {
  public:
    virtual ~FilesUnderTest() = default;
    virtual platform::Files& files() = 0;
    virtual Path root() const = 0;
    virtual void makeLink(const Path& path, const std::string& target) = 0;
    virtual void makePipe(const Path& path) = 0;
};

struct FilesKind {
    std::string name;
    std::unique_ptr<FilesUnderTest> (*make)();
    friend std::ostream& operator<<(std::ostream& out, const FilesKind& kind) {
        return out << kind.name;
    }
};

std::unique_ptr<FilesUnderTest> makeFakeFilesUnderTest();
std::unique_ptr<FilesUnderTest> makePosixFilesUnderTest();  // without what only one system has
std::unique_ptr<FilesUnderTest> makeLinuxFilesUnderTest();

// The contracts that every file system is held to.
class FilesContract : public ::testing::TestWithParam<FilesKind> {
  protected:
    platform::Files& files() { return under_->files(); }
    Path at(std::string_view name) const { return under_->root() / name; }
    void makeLink(const Path& path, const std::string& target) { under_->makeLink(path, target); }
    void makePipe(const Path& path) { under_->makePipe(path); }

    void write(const Path& path, std::string_view bytes) {
        const auto error = files().writeFileAtomically(path, bytes);
        ASSERT_FALSE(error) << error->description;
    }
    void makeFolder(const Path& path) { ASSERT_FALSE(files().createFolder(path)); }
    std::string read(const Path& path) {
        const auto bytes = files().readFile(path, 1 << 20);
        return bytes ? *bytes : "error " + std::to_string(bytes.error().code);
    }
    std::vector<std::string> names(const Path& folder) {
        std::vector<std::string> found;
        auto entries = files().contentsOfFolder(folder);
        if (!entries) return {"error " + std::to_string(entries.error().code)};
        for (auto& entry : *entries) found.push_back(std::move(entry.name));
        return found;
    }

  private:
    std::unique_ptr<FilesUnderTest> under_ = GetParam().make();
};

// The errno value of an operation's result; 0 for success, -1 for an error of another kind.
inline long codeOf(const std::optional<Error>& error) {
    if (!error) return 0;
    return error->domain == posixErrorDomain ? error->code : -1;
}
template <class T>
long codeOf(const Result<T>& result) {
    return result ? 0 : codeOf(std::optional(result.error()));
}

}  // namespace larkspan::testing
