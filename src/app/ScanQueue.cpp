#include "app/ScanQueue.h"

#include "kit/ZBException.h"

namespace larkspan {

ScanQueue::ScanQueue()
    : queue_(1, [this](const std::string& reason) {
          ++ended_;
          ZBException::logException({"Exception", reason}, "-[AppController scanQueue]");
      }) {}

void ScanQueue::addOperation(OperationQueue::Operation operation) {
    ++queued_;
    queue_.addOperation([this, operation = std::move(operation)] {
        operation();
        ++ended_;
    });
}

}  // namespace larkspan
