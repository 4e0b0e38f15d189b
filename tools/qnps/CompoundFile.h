#pragma once

#include "com/Platform.h"

#include <string>
#include <vector>

#include "com/ComPtr.h"

namespace qnps {

// A compound (structured storage) file, opened only for reading or for writing, and its streams
// addressed by paths of storage names and a stream name separated by "/".
class CompoundFile {
public:
    struct Entry {
        std::wstring path;
        bool isStorage;
        ULONGLONG size;
        bool escaped = false;  // the path shows control characters as "\xNN", so it opens nothing
    };
    // A stream with the storages on its path: releasing a storage invalidates what was opened in it.
    class Stream {
    public:
        IStream* get() const noexcept { return stream_.get(); }
        ~Stream() {
            stream_.reset();
            while (!storages_.empty()) storages_.pop_back();
        }
        Stream(Stream&&) = default;

    private:
        friend class CompoundFile;
        Stream() = default;
        std::vector<com::ComPtr<IStorage>> storages_;
        com::ComPtr<IStream> stream_;
    };

    // Shares reading with others and refuses writers, so what is read cannot change meanwhile.
    static CompoundFile OpenForReading(const std::wstring& path);
    // Opens the file, or creates it when it does not exist.
    static CompoundFile OpenForWriting(const std::wstring& path);

    Stream OpenStream(const std::wstring& streamPath) const;
    // Opens the stream for writing, making it and the storages on its path when missing.
    Stream OpenOrCreateStream(const std::wstring& streamPath);
    // Every storage and stream, storages before their content, by name.
    std::vector<Entry> List() const;
    void Commit();
    // Takes back what OpenForWriting and OpenOrCreateStream made: the file, or the first storage
    // or stream made on the path. Every stream of the file must have been released.
    void RemoveCreated() noexcept;

private:
    CompoundFile(std::wstring path, com::ComPtr<IStorage> root, bool writable, bool created)
        : path_(std::move(path)), root_(std::move(root)), writable_(writable), created_(created) {}
    void ListInto(IStorage* storage, const std::wstring& prefix, std::vector<Entry>& entries) const;
    std::string Describe(const std::wstring& streamPath) const;

    std::wstring path_;
    com::ComPtr<IStorage> root_;
    bool writable_;
    bool created_;
    // The path of names to the first storage or stream that OpenOrCreateStream made.
    std::vector<std::wstring> createdPath_;
};

}  // namespace qnps
