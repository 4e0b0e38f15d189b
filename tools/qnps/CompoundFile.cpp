#include "CompoundFile.h"

#include <algorithm>

#include "ToolError.h"
#include "Utf8.h"

namespace qnps {
namespace {

constexpr DWORD kReadElement = STGM_READ | STGM_SHARE_EXCLUSIVE;
constexpr DWORD kWriteElement = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

// A compound file's directory entry holds 32 characters, the terminating null among them.
constexpr size_t kLongestName = 31;

std::vector<std::wstring> SplitPath(const std::wstring& path, const std::string& context) {
    std::vector<std::wstring> names;
    size_t start = 0;
    for (;;) {
        const size_t slash = path.find(L'/', start);
        names.push_back(path.substr(start, slash - start));
        if (names.back().empty()) throw ToolError::Usage("\"" + ToUtf8(path) + "\" is not a stream path");
        if (names.back().size() > kLongestName)
            throw ToolError(context + ": \"" + ToUtf8(names.back()) + "\" has " + std::to_string(names.back().size()) +
                                " characters; a compound file allows " + std::to_string(kLongestName) + " in a name",
                            STG_E_INVALIDNAME);
        if (slash == std::wstring::npos) return names;
        start = slash + 1;
    }
}

// Stream names may hold control characters ("\005SummaryInformation").
std::wstring Printable(const std::wstring& name) {
    std::wstring shown;
    for (wchar_t c : name) {
        if (c < 0x20) {
            wchar_t escape[8];
            swprintf(escape, 8, L"\\x%02X", static_cast<unsigned>(c));
            shown += escape;
        } else {
            shown += c;
        }
    }
    return shown;
}

struct StatName {
    STATSTG stat{};
    ~StatName() { ::CoTaskMemFree(stat.pwcsName); }
};

// Without this the platform answers "access denied" for a folder.
void RefuseFolder(const std::wstring& path, DWORD attributes) {
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY))
        throw ToolError(ToUtf8(path) + ": a folder, not a compound file");
}

}  // namespace

CompoundFile CompoundFile::OpenForReading(const std::wstring& path) {
    RefuseFolder(path, ::GetFileAttributesW(path.c_str()));
    com::ComPtr<IStorage> root;
    const HRESULT hr = ::StgOpenStorage(path.c_str(), nullptr, STGM_READ | STGM_SHARE_DENY_WRITE, nullptr, 0, root.put());
    if (FAILED(hr)) throw ToolError::Failed(ToUtf8(path), hr);
    return CompoundFile(path, std::move(root), false, false);
}

CompoundFile CompoundFile::OpenForWriting(const std::wstring& path) {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    com::ComPtr<IStorage> root;
    RefuseFolder(path, attributes);
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        // The platform's own answer for a missing folder is a bare E_FAIL.
        if (::GetLastError() == ERROR_PATH_NOT_FOUND)
            throw ToolError(ToUtf8(path) + ": the folder does not exist", HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND));
        const HRESULT hr = ::StgCreateDocfile(path.c_str(), STGM_FAILIFTHERE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE,
                                              0, root.put());
        if (FAILED(hr)) throw ToolError::Failed(ToUtf8(path), hr);
        return CompoundFile(path, std::move(root), true, true);
    }
    if (attributes & FILE_ATTRIBUTE_READONLY)
        throw ToolError(ToUtf8(path) + ": the file is read-only", STG_E_ACCESSDENIED);
    const HRESULT hr = ::StgOpenStorage(path.c_str(), nullptr, STGM_READWRITE | STGM_SHARE_EXCLUSIVE, nullptr, 0,
                                        root.put());
    if (FAILED(hr)) throw ToolError::Failed(ToUtf8(path), hr);
    return CompoundFile(path, std::move(root), true, false);
}

std::string CompoundFile::Describe(const std::wstring& streamPath) const {
    return ToUtf8(path_) + ": " + ToUtf8(streamPath);
}

CompoundFile::Stream CompoundFile::OpenStream(const std::wstring& streamPath) const {
    const auto names = SplitPath(streamPath, Describe(streamPath));
    const DWORD mode = writable_ ? kWriteElement : kReadElement;
    Stream opened;
    IStorage* storage = root_.get();
    for (size_t i = 0; i + 1 < names.size(); ++i) {
        com::ComPtr<IStorage> inner;
        const HRESULT hr = storage->OpenStorage(names[i].c_str(), nullptr, mode, nullptr, 0, inner.put());
        if (hr == STG_E_FILENOTFOUND)
            throw ToolError(Describe(streamPath) + ": no storage \"" + ToUtf8(names[i]) + "\"", hr);
        if (FAILED(hr)) throw ToolError::Failed(Describe(streamPath), hr);
        storage = inner.get();
        opened.storages_.push_back(std::move(inner));
    }
    const HRESULT hr = storage->OpenStream(names.back().c_str(), nullptr, mode, 0, opened.stream_.put());
    if (hr == STG_E_FILENOTFOUND) {
        com::ComPtr<IStorage> inner;
        const bool isStorage = SUCCEEDED(storage->OpenStorage(names.back().c_str(), nullptr, mode, nullptr, 0, inner.put()));
        throw ToolError(Describe(streamPath) + (isStorage ? ": a storage, not a stream" : ": no such stream"), hr);
    }
    if (FAILED(hr)) throw ToolError::Failed(Describe(streamPath), hr);
    return opened;
}

CompoundFile::Stream CompoundFile::OpenOrCreateStream(const std::wstring& streamPath) {
    const auto names = SplitPath(streamPath, Describe(streamPath));
    Stream opened;
    IStorage* storage = root_.get();
    auto remember = [&](size_t last) {
        if (createdPath_.empty() && !created_) createdPath_.assign(names.begin(), names.begin() + last + 1);
    };
    for (size_t i = 0; i + 1 < names.size(); ++i) {
        com::ComPtr<IStorage> inner;
        HRESULT hr = storage->OpenStorage(names[i].c_str(), nullptr, kWriteElement, nullptr, 0, inner.put());
        if (hr == STG_E_FILENOTFOUND) {
            hr = storage->CreateStorage(names[i].c_str(), kWriteElement | STGM_FAILIFTHERE, 0, 0, inner.put());
            if (SUCCEEDED(hr)) remember(i);
        }
        if (hr == STG_E_FILEALREADYEXISTS)
            throw ToolError(Describe(streamPath) + ": \"" + ToUtf8(names[i]) + "\" is a stream, not a storage", hr);
        if (FAILED(hr)) throw ToolError::Failed(Describe(streamPath) + ": storage \"" + ToUtf8(names[i]) + "\"", hr);
        storage = inner.get();
        opened.storages_.push_back(std::move(inner));
    }
    HRESULT hr = storage->OpenStream(names.back().c_str(), nullptr, kWriteElement, 0, opened.stream_.put());
    if (hr == STG_E_FILENOTFOUND) {
        hr = storage->CreateStream(names.back().c_str(), kWriteElement | STGM_FAILIFTHERE, 0, 0, opened.stream_.put());
        if (SUCCEEDED(hr)) remember(names.size() - 1);
    }
    if (hr == STG_E_FILEALREADYEXISTS) throw ToolError(Describe(streamPath) + ": a storage, not a stream", hr);
    if (FAILED(hr)) throw ToolError::Failed(Describe(streamPath), hr);
    return opened;
}

void CompoundFile::Commit() {
    const HRESULT hr = root_->Commit(STGC_DEFAULT);
    if (FAILED(hr)) throw ToolError::Failed(ToUtf8(path_), hr);
}

void CompoundFile::RemoveCreated() noexcept {
    if (created_) {
        root_.reset();
        ::DeleteFileW(path_.c_str());
        return;
    }
    if (createdPath_.empty()) return;
    std::vector<com::ComPtr<IStorage>> storages{root_};
    for (size_t i = 0; i + 1 < createdPath_.size(); ++i) {
        com::ComPtr<IStorage> inner;
        if (FAILED(storages.back()->OpenStorage(createdPath_[i].c_str(), nullptr, kWriteElement, nullptr, 0, inner.put())))
            return;
        storages.push_back(std::move(inner));
    }
    storages.back()->DestroyElement(createdPath_.back().c_str());
    while (storages.size() > 1) storages.pop_back();
    root_->Commit(STGC_DEFAULT);
    createdPath_.clear();
}

std::vector<CompoundFile::Entry> CompoundFile::List() const {
    std::vector<Entry> entries;
    ListInto(root_.get(), std::wstring(), entries);
    return entries;
}

void CompoundFile::ListInto(IStorage* storage, const std::wstring& prefix, std::vector<Entry>& entries) const {
    com::ComPtr<IEnumSTATSTG> elements;
    HRESULT hr = storage->EnumElements(0, nullptr, 0, elements.put());
    if (FAILED(hr)) throw ToolError::Failed(ToUtf8(path_) + ": " + ToUtf8(prefix), hr);
    std::vector<Entry> level;
    for (;;) {
        StatName element;
        if (elements->Next(1, &element.stat, nullptr) != S_OK) break;
        if (element.stat.type != STGTY_STORAGE && element.stat.type != STGTY_STREAM) continue;
        level.push_back({element.stat.pwcsName, element.stat.type == STGTY_STORAGE, element.stat.cbSize.QuadPart});
    }
    std::sort(level.begin(), level.end(),
              [](const Entry& a, const Entry& b) { return _wcsicmp(a.path.c_str(), b.path.c_str()) < 0; });
    for (const Entry& entry : level) {
        const std::wstring path = prefix + Printable(entry.path);
        entries.push_back({path, entry.isStorage, entry.size, Printable(entry.path) != entry.path});
        if (!entry.isStorage) continue;
        com::ComPtr<IStorage> inner;
        hr = storage->OpenStorage(entry.path.c_str(), nullptr, kReadElement, nullptr, 0, inner.put());
        if (FAILED(hr)) throw ToolError::Failed(ToUtf8(path_) + ": " + ToUtf8(path), hr);
        ListInto(inner.get(), path + L"/", entries);
    }
}

}  // namespace qnps
