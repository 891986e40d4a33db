#pragma once

#include "foundation/Guarded.h"
#include "platform/Connections.h"
#include "platform/MainThread.h"

#include <memory>
#include <string>
#include <vector>

namespace larkspan::platform {

// Named connections inside the process. Commands run through the main thread of whoever serves
// them: at once when called on it. There, too, a client does not wait for notifications but says
// at once whether one has come, since nothing could send it meanwhile.
class FakeConnections final : public Connections {
  public:
    // A process that is alone on its machine.
    explicit FakeConnections(MainThread& mainThread);
    // Another process on the machine of `neighbour`. Serving a name there makes it taken here.
    FakeConnections(MainThread& mainThread, const FakeConnections& neighbour);
    ~FakeConnections() override;

    Result<std::unique_ptr<Service>> serve(const std::string& name, ServedObject object) override;
    Result<std::unique_ptr<Client>> connect(const std::string& name, Seconds timeout) override;
    void postDistributedNotification(const std::string& name) override;

    // The distributed notifications of this process, in order, heard by anybody or not.
    std::vector<std::string> posted() const { return posted_.copy(); }

  private:
    struct Served;
    struct Machine;
    class FakeService;
    class FakeClient;

    MainThread& mainThread_;
    const std::shared_ptr<Machine> machine_;
    Guarded<std::vector<std::string>> posted_;
};

}  // namespace larkspan::platform
