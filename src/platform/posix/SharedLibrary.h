#pragma once

namespace larkspan::platform {

// A library of the system that is loaded when it is first needed, by its soname, and stays: a
// program at rest does without its memory. For one thread at a time; functions that were found may
// be called on any.
class SharedLibrary {
  public:
    explicit SharedLibrary(const char* name);

    // Null when the library, or the function in it, is missing.
    template <class Function>
    Function function(const char* name) {
        return reinterpret_cast<Function>(address(name));
    }
    // Whether everything that was asked for is there.
    bool isComplete() const { return isComplete_; }

  private:
    void* address(const char* name);

    void* handle_;
    bool isComplete_;
};

}  // namespace larkspan::platform
