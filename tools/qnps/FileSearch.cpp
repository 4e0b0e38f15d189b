#include "FileSearch.h"

#include "com/Platform.h"

#include <algorithm>

#include "ToolError.h"
#include "com/Bstr.h"
#include "Utf8.h"

namespace qnps {
namespace {

struct FindHandle {
    HANDLE handle;
    ~FindHandle() {
        if (handle != INVALID_HANDLE_VALUE) ::FindClose(handle);
    }
};


}  // namespace

bool FileSearch::Matches(const std::wstring& anyCasePattern, const std::wstring& anyCaseText) {
    const std::wstring pattern = com::FoldedName(anyCasePattern.data(), anyCasePattern.size());
    const std::wstring text = com::FoldedName(anyCaseText.data(), anyCaseText.size());
    // Greedy with one backtrack point: linear for patterns of "*" and "?".
    size_t p = 0, t = 0, star = std::wstring::npos, resume = 0;
    while (t < text.size()) {
        if (p < pattern.size() && (pattern[p] == L'?' || pattern[p] == text[t])) {
            ++p, ++t;
        } else if (p < pattern.size() && pattern[p] == L'*') {
            star = p++;
            resume = t;
        } else if (star != std::wstring::npos) {
            p = star + 1;
            t = ++resume;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == L'*') ++p;
    return p == pattern.size();
}

FileSearch::Result FileSearch::Find(const std::vector<std::wstring>& operands, const std::wstring& pattern, bool recurse) {
    Result result;
    for (const auto& operand : operands) {
        const DWORD attributes = ::GetFileAttributesW(operand.c_str());
        if (attributes == INVALID_FILE_ATTRIBUTES)
            result.problems.push_back(ToolError(ToUtf8(operand) + ": not found", HRESULT_FROM_WIN32(::GetLastError())).WithCode());
        else if (attributes & FILE_ATTRIBUTE_DIRECTORY)
            SearchFolder(operand, pattern, recurse, result);
        else
            result.files.push_back(operand);
    }
    return result;
}

void FileSearch::SearchFolder(const std::wstring& folder, const std::wstring& pattern, bool recurse, Result& result) {
    const std::wstring prefix = folder.empty() || folder.back() == L'/' || folder.back() == L'\\' ? folder : folder + L"/";
    WIN32_FIND_DATAW data{};
    FindHandle find{::FindFirstFileW((prefix + L"*").c_str(), &data)};
    if (find.handle == INVALID_HANDLE_VALUE) {
        result.problems.push_back(ToolError::Failed(ToUtf8(folder), HRESULT_FROM_WIN32(::GetLastError())).WithCode());
        return;
    }
    std::vector<std::pair<std::wstring, bool>> entries;
    do {
        const std::wstring name = data.cFileName;
        if (name == L"." || name == L"..") continue;
        entries.emplace_back(name, (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0);
    } while (::FindNextFileW(find.handle, &data));
    std::sort(entries.begin(), entries.end(),
              [](const auto& a, const auto& b) { return _wcsicmp(a.first.c_str(), b.first.c_str()) < 0; });
    for (const auto& [name, isFolder] : entries) {
        const std::wstring path = prefix + name;
        if (isFolder) {
            if (recurse) SearchFolder(path, pattern, recurse, result);
        } else if (Matches(pattern, name) && ::StgIsStorageFile(path.c_str()) == S_OK) {
            // Other files in a folder are not property files: passed over without a word.
            result.files.push_back(path);
        }
    }
}

}  // namespace qnps
