#pragma once

#include "platform/Connections.h"

#include <functional>

namespace larkspan {

// What the front-end can invoke over the connection: these three commands and no others. They
// arrive on the main thread.
class ZBXPCController {
  public:
    // What the commands act on. Not owned.
    class Delegate {
      public:
        virtual ~Delegate() = default;
        virtual void setup() = 0;
        virtual void beginScheduledBackup() = 0;
    };

    void setDelegate(Delegate* delegate) { delegate_ = delegate; }

    // Configures the helper anew from the preferences.
    void updateConfiguration() const;
    // Starts a backup run and a discovery run at once.
    void startBackupScan() const;
    // Tells every listener to reload its view of the version store.
    void filesBackedUp() const;

    // The commands under their names, as the connection serves them. The controller must outlive
    // what is returned.
    platform::ServedObject servedObject() const;

  private:
    Delegate* delegate_ = nullptr;
};

}  // namespace larkspan
