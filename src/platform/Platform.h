#pragma once

namespace larkspan::platform {

class Alerts;
class AppleEvents;
class Applications;
class Archives;
class Bundles;
class Clock;
class Connections;
class Console;
class CrashReports;
class DockTile;
class FileEvents;
class Files;
class FileStreams;
class Machine;
class MainThread;
class Privileges;
class Processes;
class Screen;
class SessionEvents;
class StandardPlaces;
class Trash;
class UserNotifications;
class Volumes;

// Everything that an operating system gives, one small interface per service. Holds references
// only: whoever builds a Platform owns the services and keeps them alive longer than it.
struct Platform {
    Alerts& alerts;
    AppleEvents& appleEvents;
    Applications& applications;
    Archives& archives;
    Bundles& bundles;
    Clock& clock;
    Connections& connections;
    Console& console;
    CrashReports& crashReports;
    DockTile& dockTile;
    FileEvents& fileEvents;
    Files& files;
    Machine& machine;
    MainThread& mainThread;
    Privileges& privileges;
    Processes& processes;
    Screen& screen;
    SessionEvents& sessionEvents;
    StandardPlaces& places;
    FileStreams& streams;
    Trash& trash;
    UserNotifications& userNotifications;
    Volumes& volumes;

    // The platform in force: the one ambient object of the program, since operations without state
    // cannot be handed one. Aborts with a message when none is installed.
    static Platform& current();
};

// Installs a platform for as long as it lives, then puts back the one before. Made in main before
// the first thread starts and after the last has ended; in tests by the fixture.
class ScopedPlatform {
  public:
    explicit ScopedPlatform(Platform& platform);
    ScopedPlatform(const ScopedPlatform&) = delete;
    ScopedPlatform& operator=(const ScopedPlatform&) = delete;
    ~ScopedPlatform();

  private:
    Platform* previous_;
};

}  // namespace larkspan::platform
