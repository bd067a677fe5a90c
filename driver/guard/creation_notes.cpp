#include "driver/guard/creation_notes.h"

#include <fcntl.h>
#include <sys/fanotify.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <span>

namespace vossel {

namespace {

// One information record: a header, the file system's id, a file handle and, for an entry of a
// folder, the entry's name.
void readRecord(std::span<const std::byte> record, CreationNotes::Creation& creation)
{
    fanotify_event_info_header header;
    file_handle handle;
    constexpr std::size_t handleAt = offsetof(fanotify_event_info_fid, handle);
    constexpr std::size_t bytesAt = handleAt + sizeof(file_handle);
    if (record.size() < bytesAt)
        return;
    std::memcpy(&header, record.data(), sizeof header);
    std::memcpy(&handle, record.data() + handleAt, sizeof handle);
    if (handle.handle_bytes > record.size() - bytesAt)
        return;
    std::string bytes(reinterpret_cast<const char*>(&handle.handle_type), sizeof(int));
    bytes.append(reinterpret_cast<const char*>(record.data() + bytesAt), handle.handle_bytes);
    if (header.info_type == FAN_EVENT_INFO_TYPE_FID) {
        creation.file = std::move(bytes);
    } else if (header.info_type == FAN_EVENT_INFO_TYPE_DFID_NAME) {
        creation.folder = std::move(bytes);
        const std::size_t nameAt = bytesAt + handle.handle_bytes;
        const char* name = reinterpret_cast<const char*>(record.data() + nameAt);
        creation.name.assign(name, strnlen(name, record.size() - nameAt));
    }
}

}

std::optional<CreationNotes> CreationNotes::open(const std::vector<GuardedFolder>& folders)
{
    CreationNotes notes;
    notes.group_.reset(
        ::fanotify_init(FAN_CLASS_NOTIF | FAN_REPORT_DFID_NAME_TARGET | FAN_REPORT_TID
                | FAN_UNLIMITED_QUEUE | FAN_UNLIMITED_MARKS | FAN_CLOEXEC | FAN_NONBLOCK,
            O_RDONLY | O_CLOEXEC));
    if (!notes.group_)
        return std::nullopt;
    for (const GuardedFolder& folder : folders)
        if (::fanotify_mark(notes.group_.get(), FAN_MARK_ADD | FAN_MARK_FILESYSTEM, FAN_CREATE,
                AT_FDCWD, folder.path().c_str())
            != 0)
            return std::nullopt;
    notes.buffer_.resize(65536);
    return notes;
}

void CreationNotes::refresh()
{
    while (true) {
        const ssize_t size = ::read(group_.get(), buffer_.data(), buffer_.size());
        if (size <= 0)
            return;
        readOnce(static_cast<std::size_t>(size));
    }
}

void CreationNotes::readOnce(std::size_t size)
{
    std::size_t place = 0;
    while (place + FAN_EVENT_METADATA_LEN <= size) {
        fanotify_event_metadata event;
        std::memcpy(&event, buffer_.data() + place, sizeof event);
        if (event.event_len < FAN_EVENT_METADATA_LEN || event.event_len > size - place)
            return;
        Creation creation;
        creation.thread = event.pid;
        std::span<const std::byte> records(
            buffer_.data() + place + event.metadata_len, event.event_len - event.metadata_len);
        fanotify_event_info_header header;
        while (records.size() >= sizeof header) {
            std::memcpy(&header, records.data(), sizeof header);
            if (header.len < sizeof header || header.len > records.size())
                break;
            readRecord(records.first(header.len), creation);
            records = records.subspan(header.len);
        }
        if (!creation.file.empty())
            notes_.push_front(std::move(creation));
        place += event.event_len;
    }
    if (notes_.size() > maxNotes)
        notes_.resize(maxNotes);
}

std::optional<CreationNotes::Creation> CreationNotes::take(
    std::int32_t thread, const std::string& file)
{
    const auto found = std::find_if(notes_.begin(), notes_.end(),
        [&](const Creation& note) { return note.thread == thread && note.file == file; });
    if (found == notes_.end())
        return std::nullopt;
    Creation creation = std::move(*found);
    notes_.erase(found);
    return creation;
}

}
