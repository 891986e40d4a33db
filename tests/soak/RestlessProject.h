#pragma once

#include "soak/Checks.h"

#include <atomic>
#include <thread>

namespace larkspan::soak {

// A project that something appends to all the time, by a thread of its own: it must hold up nobody,
// and what is kept of it are states that it had.
class RestlessProject {
  public:
    explicit RestlessProject(std::filesystem::path file) : file_(std::move(file)) {}
    ~RestlessProject() { rest(); }
    RestlessProject(const RestlessProject&) = delete;
    RestlessProject& operator=(const RestlessProject&) = delete;

    void start();
    void rest();

    const std::filesystem::path& path() const { return file_; }
    // Versions that end within a line or hold something else.
    Complaints foreignVersions(const Store& store) const;

  private:
    void append();

    const std::filesystem::path file_;
    long lines_ = 0;
    std::atomic<bool> ends_{false};
    std::thread thread_;
};

}  // namespace larkspan::soak
