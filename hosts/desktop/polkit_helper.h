#pragma once

#include "foundation/files.h"
#include "hosts/desktop/polkit_helper_line.h"

#include <QObject>
#include <QPointer>

#include <sys/types.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

class QSocketNotifier;

namespace vossel {

// One run of polkit's setuid helper, which lets PAM ask and itself tells the Authority who proved
// to be whom: no right rests on what it says here. Spoken to over the event loop of the thread that
// makes it; killed and waited for with this object.
class PolkitHelper final : public QObject {
public:
    enum class End { Success, Failure, Broken };
    struct Listener {
        std::function<void(const PolkitHelperLine&)> asksOrTells;
        std::function<void(End)> ended; // once, and nothing after it
    };

    // Either call may destroy this object.
    explicit PolkitHelper(Listener listener);
    ~PolkitHelper() override;

    // Call this once. The helper gets no signal mask, descriptor, environment or terminal of this
    // program's. False, with a line in the log, when it cannot be started; the listener hears
    // nothing then.
    [[nodiscard]] bool start(
        const std::string& program, const std::string& user, std::string_view cookie);
    // Sends one line: the text up to its first line break, at most 510 bytes, for the helper takes
    // no more.
    void answer(std::string_view line);

private:
    struct Retire {
        void operator()(QSocketNotifier* notifier) const;
    };
    using Notifier = std::unique_ptr<QSocketNotifier, Retire>;

    [[nodiscard]] int spawn(const std::string& program, const std::string& user);
    [[nodiscard]] Notifier notify(int fd, void (PolkitHelper::*call)());
    [[nodiscard]] bool send(std::string_view line) const;
    [[nodiscard]] static bool runs(const QPointer<PolkitHelper>& self);
    void read();
    void readRest();
    void hear(const PolkitHelperLine& line);
    void conclude();
    void stop();

    const Listener listener_;
    pid_t pid_ = -1;
    UniqueFd socket_; // the helper's standard input and output
    UniqueFd process_; // readable: the helper has ended
    Notifier heard_;
    Notifier ended_;
    std::string pending_; // an unfinished line
    std::optional<End> verdict_;
};

}
