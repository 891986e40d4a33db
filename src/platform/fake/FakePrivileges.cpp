#include "platform/fake/FakePrivileges.h"

namespace larkspan::platform {

class FakePrivileges::Granted final : public Authorization {
  public:
    explicit Granted(FakePrivileges& owner) : owner_(owner) {
        owner_.inForce_.with([](int& count) { ++count; });
    }
    Granted(const Granted&) = delete;
    Granted& operator=(const Granted&) = delete;
    ~Granted() override {
        owner_.inForce_.with([](int& count) { --count; });
    }

    std::int32_t execute(const Path& tool, const std::vector<std::string>& arguments,
                         WaitForOutput wait) override {
        if (owner_.status == 0) {
            owner_.runs_.with([&](auto& runs) { runs.push_back({tool, arguments, wait}); });
        }
        return owner_.status;
    }

  private:
    FakePrivileges& owner_;
};

std::unique_ptr<Authorization> FakePrivileges::inheritedAuthorization() {
    return inherits ? std::make_unique<Granted>(*this) : nullptr;
}

bool FakePrivileges::canAskPerson(Asking asking) {
    return sitsAtDesktop || asking == Asking::anywhere;
}

std::unique_ptr<Authorization> FakePrivileges::authorize(Asking, const GivenUp& givenUp) {
    asked_.with([](int& count) { ++count; });
    if (answer) answer(givenUp);
    return personAgrees ? std::make_unique<Granted>(*this) : nullptr;
}

Result<std::unique_ptr<Authorization>> FakePrivileges::authorize(const std::string& user,
                                                                 const Secret& password) {
    if (authorizationFailure) return *authorizationFailure;
    const auto found = passwords.find(user);
    if (found == passwords.end() || found->second != password.text()) {
        return Error{privilegesErrorDomain, authorizationDenied, "not an administrator"};
    }
    return std::unique_ptr<Authorization>(std::make_unique<Granted>(*this));
}

}  // namespace larkspan::platform
