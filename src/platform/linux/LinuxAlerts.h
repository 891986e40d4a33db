#pragma once

#include "platform/Alerts.h"
#include "platform/Processes.h"
#include "platform/linux/LinuxMainThread.h"

#include <list>
#include <memory>

namespace larkspan::platform {

// What alerts are shown with.
struct AlertDevices {
    // The terminal. Used while both are one and this process is in its foreground.
    int input = 0;
    int output = 2;
    Path zenity{"/usr/bin/zenity"};
    bool hasDisplay = false;

    static AlertDevices ofThisProcess();
};

// Alerts in the terminal, one after the other, with numbered buttons; the end of its input is the
// default button. Without a terminal, windows of zenity where there is a display, which have no
// check box. Else every alert is answered at once. There are no windows to show them over.
class LinuxAlerts final : public Alerts {
  public:
    // The services must outlive this.
    LinuxAlerts(LinuxMainThread& mainThread, Processes& processes,
                AlertDevices devices = AlertDevices::ofThisProcess());
    LinuxAlerts(const LinuxAlerts&) = delete;
    LinuxAlerts& operator=(const LinuxAlerts&) = delete;
    ~LinuxAlerts() override;

    std::shared_ptr<Window> mainWindow() override { return nullptr; }
    AlertID show(const AlertRequest& request, const std::shared_ptr<Window>& window,
                 Answered answered) override;
    void orderOut(AlertID alert) override;

  private:
    struct Waiting {
        AlertID alert = 0;
        AlertRequest request;
        Answered answered;
    };
    class ZenityWindow;

    bool hasTerminal() const;
    void print(std::string_view text) const;
    void askNext();
    void readTerminal();
    void understand(std::string_view line);
    void endQuestion(const AlertAnswer& answer);
    bool openWindow(AlertID alert, const AlertRequest& request, Answered& answered);
    void windowEnded(AlertID alert, const AlertAnswer& answer);

    LinuxMainThread& mainThread_;
    Processes& processes_;
    const AlertDevices devices_;
    AlertID last_ = 0;
    std::list<Waiting> waiting_;  // for the terminal; the first one is asked
    std::string typed_;           // of a line that is not complete
    std::unique_ptr<MainThread::Timer> inputWatch_;
    // Tells what comes from a window's thread that this object is still there.
    std::shared_ptr<const char> alive_ = std::make_shared<const char>();
    std::list<std::unique_ptr<ZenityWindow>> windows_;
};

}  // namespace larkspan::platform
