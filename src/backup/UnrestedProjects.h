#pragma once

#include "foundation/Date.h"
#include "foundation/Path.h"

#include <cstdint>
#include <map>
#include <optional>

namespace larkspan {

// What tells that a project file was written to.
struct WriteState {
    Date modificationDate;
    std::uint64_t size = 0;
    friend bool operator==(const WriteState&, const WriteState&) = default;
};

// Projects that were found being written, and when each is to be looked at again, so that nothing
// has to wait for them (docs/behaviour.md, own 10 and 11). Decides from what it is handed: dates
// are the wall clock's, moments are uptime. One thread at a time.
class UnrestedProjects {
  public:
    enum class Verdict {
        atRest,    // nobody writes to it
        setAside,  // it is to be looked at again at nextLook()
        // It keeps changing, and its turn of once a minute has come: a copy is worth a try.
        worthATry,
    };
    struct Decision {
        Verdict verdict = Verdict::atRest;
        bool isFirst = false;  // the first of this verdict in a row, to be told
        bool wasSetAside = false;
    };

    // A project counts as being written while its date lies less than 4 seconds in the past. A date
    // in the future says nothing: then 4 seconds without a change count.
    Decision look(const Path& project, const WriteState& state, Date now, Seconds uptime);

    // The copy failed because the project was written to meanwhile.
    void changedWhileCopied(const Path& project, const WriteState& state, Seconds uptime);
    // A version was taken, or none is needed.
    void settled(const Path& project) { waiting_.erase(project); }

    // The moment at which the next project is to be looked at; empty when none waits.
    std::optional<Seconds> nextLook() const;
    // Forgets the projects whose moment has passed: those that a look at all that were due did not
    // come across are gone.
    void forgetOverdue(Seconds uptime);
    // How many wait that may come to rest: those that keep changing are not counted.
    long countBeingWritten() const;
    // Whether the project waits, and its moment has come.
    bool isDue(const Path& project, Seconds uptime) const;

  private:
    struct Waiting {
        WriteState state;
        Seconds unchangedSince{0};
        Seconds lastTry{0};  // or when it was set aside
        Seconds due{0};
        bool keepsChanging = false;
    };

    std::map<Path, Waiting> waiting_;
};

}  // namespace larkspan
