#include "hosts/desktop/qt_main_thread.h"

#include "foundation/log.h"

#include <QMetaObject>

#include <exception>
#include <utility>

namespace vossel {

QtMainThread::QtMainThread()
    : thread_(std::this_thread::get_id())
{
}

QtMainThread::~QtMainThread()
{
    shutDown();
}

bool QtMainThread::isCurrent() const
{
    return std::this_thread::get_id() == thread_;
}

void QtMainThread::perform(std::function<void()> task)
{
    enqueue(std::make_shared<Task>(Task{std::move(task)}));
}

void QtMainThread::performAndWait(const std::function<void()>& task)
{
    if (isCurrent()) {
        task();
        return;
    }
    const auto handedOver = std::make_shared<Task>(Task{[&task] { task(); }});
    enqueue(handedOver);
    MutexLock lock(mutex_);
    done_.wait(lock, [&]() VOSSEL_REQUIRES(mutex_) { return doneOf(*handedOver); });
}

void QtMainThread::shutDown()
{
    std::deque<std::shared_ptr<Task>> dropped; // destroyed without the lock
    const MutexLock lock(mutex_);
    shutDown_ = true;
    dropped.swap(tasks_);
    for (const auto& task : dropped)
        doneOf(*task) = true;
    done_.notifyAll();
}

// Each task has one wake-up of its own, so that a nested loop takes up where the outer one stands.
void QtMainThread::enqueue(std::shared_ptr<Task> task)
{
    {
        const MutexLock lock(mutex_);
        if (shutDown_) {
            doneOf(*task) = true;
            return;
        }
        tasks_.push_back(std::move(task));
    }
    // Without the lock, or the woken thread would only wait for it.
    QMetaObject::invokeMethod(
        &receiver_, [this] { runNext(); }, Qt::QueuedConnection);
}

void QtMainThread::runNext()
{
    std::shared_ptr<Task> task;
    {
        const MutexLock lock(mutex_);
        if (tasks_.empty())
            return;
        task = std::move(tasks_.front());
        tasks_.pop_front();
    }
    try {
        task->run();
    } catch (const std::exception& error) {
        logText("a task of the main thread failed: %@", error.what());
    } catch (...) {
        logText("a task of the main thread failed");
    }
    const MutexLock lock(mutex_);
    doneOf(*task) = true;
    done_.notifyAll();
}

}
