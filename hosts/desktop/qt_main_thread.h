#pragma once

#include "foundation/mutex.h"
#include "platform/threads.h"

#include <QObject>

#include <deque>
#include <memory>
#include <thread>

namespace vossel {

// The main thread over Qt's event loop: the thread that makes it, where a QCoreApplication must
// exist. What is handed over before the loop runs is done when it runs, nested loops (an
// authentication dialog's) included.
class QtMainThread final : public MainThread {
public:
    QtMainThread();
    ~QtMainThread() override;

    [[nodiscard]] bool isCurrent() const override;
    void perform(std::function<void()> task) override;
    // Returns at once after shutDown(); the task is not run then.
    void performAndWait(const std::function<void()>& task) override;

    // Call this on the main thread when its loop is not to run again: tasks that have not begun are
    // dropped, and whoever waits for one goes on.
    void shutDown();

private:
    struct Task {
        std::function<void()> run;
        bool done = false; // see doneOf()
    };

    void enqueue(std::shared_ptr<Task> task);
    void runNext();
    // A task cannot name the lock that guards it. One that was dropped counts as done.
    [[nodiscard]] bool& doneOf(Task& task) VOSSEL_REQUIRES(mutex_) { return task.done; }

    const std::thread::id thread_;
    QObject receiver_;
    Mutex mutex_;
    Condition done_;
    std::deque<std::shared_ptr<Task>> tasks_ VOSSEL_GUARDED_BY(mutex_);
    bool shutDown_ VOSSEL_GUARDED_BY(mutex_) = false;
};

}
