#include "hosts/desktop/qt_descriptor_watch.h"

#include <QSocketNotifier>

#include <utility>

namespace vossel {

std::shared_ptr<void> watchDescriptor(int fd, std::function<void()> readable)
{
    auto* notifier = new QSocketNotifier(fd, QSocketNotifier::Read);
    QObject::connect(
        notifier, &QSocketNotifier::activated, [call = std::move(readable)] { call(); });
    // It may be in the middle of its call.
    return {static_cast<void*>(notifier), [notifier](void*) {
                notifier->setEnabled(false);
                notifier->deleteLater();
            }};
}

}
