#pragma once

#include "app/AppController.h"

#include <memory>

namespace larkspan {

// The application's two turning points. Main thread.
class LarkspanHelperAppDelegate {
  public:
    // Makes the controller and configures it for the first time.
    void applicationDidFinishLaunching();
    // Ends in order: observers, stamps, log.
    void applicationWillTerminate();

    // Null before the launch.
    AppController* controller() { return controller_.get(); }

  private:
    std::unique_ptr<AppController> controller_;
};

}  // namespace larkspan
