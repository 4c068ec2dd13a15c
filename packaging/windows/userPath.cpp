// Puts a folder into the PATH of this user, or takes it out: zarngi-path add|remove FOLDER
// The installer's own strings end after 1024 characters, and would cut a long PATH. Status 1: nothing was
// changed, and standard error tells why.
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <optional>
#include <string>
#include <vector>

namespace
{

constexpr const wchar_t* keyName = L"Environment";
constexpr const wchar_t* valueName = L"Path";
/** A variable of the environment holds no more. */
constexpr std::size_t longest = 32767;

/** The PATH as it stands in the registry, with or without variables to be put in. */
struct UserPath {
    DWORD type = REG_EXPAND_SZ;
    std::wstring text;
};

/** Without the end by which two names of a folder may differ. */
std::wstring plain(std::wstring folder)
{
    while (folder.size() > 1 && folder.back() == L'\\') {
        folder.pop_back();
    }
    return folder;
}

bool isSame(const std::wstring& one, const std::wstring& other)
{
    return CompareStringOrdinal(plain(one).c_str(), -1, plain(other).c_str(), -1, TRUE) ==
           CSTR_EQUAL;
}

std::vector<std::wstring> entriesOf(const std::wstring& path)
{
    std::vector<std::wstring> entries;
    for (std::size_t begin = 0; begin <= path.size();) {
        const std::size_t end = std::min(path.find(L';', begin), path.size());
        entries.push_back(path.substr(begin, end - begin));
        begin = end + 1;
    }
    return entries;
}

/** None where it cannot be read, or is no text. */
std::optional<UserPath> read(HKEY key)
{
    UserPath path;
    DWORD bytes = 0;
    LSTATUS status = RegQueryValueExW(key, valueName, nullptr, &path.type, nullptr, &bytes);
    if (status == ERROR_FILE_NOT_FOUND) {
        return UserPath();
    }
    path.text.resize(bytes / sizeof(wchar_t));
    if (status == ERROR_SUCCESS) {
        status = RegQueryValueExW(key, valueName, nullptr, &path.type,
                                  reinterpret_cast<BYTE*>(path.text.data()), &bytes);
    }
    if (status != ERROR_SUCCESS || (path.type != REG_SZ && path.type != REG_EXPAND_SZ)) {
        return std::nullopt;
    }
    path.text.resize(std::wcslen(path.text.c_str())); // the end may be stored, too
    return path;
}

bool write(HKEY key, const UserPath& path)
{
    const auto bytes = static_cast<DWORD>((path.text.size() + 1) * sizeof(wchar_t));
    return RegSetValueExW(key, valueName, 0, path.type,
                          reinterpret_cast<const BYTE*>(path.text.c_str()), bytes) == ERROR_SUCCESS;
}

/** All other entries stay as they are, empty ones included. */
std::wstring changed(const std::wstring& path, const std::wstring& folder, bool isAdded)
{
    std::vector<std::wstring> entries = entriesOf(path);
    const auto same = [&](const std::wstring& entry) { return isSame(entry, folder); };
    if (isAdded) {
        if (std::ranges::any_of(entries, same)) {
            return path;
        }
        return path.empty() || path.back() == L';' ? path + folder : path + L';' + folder;
    }
    std::erase_if(entries, same);
    std::wstring text;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        text += (i > 0 ? L";" : L"") + entries[i];
    }
    return text;
}

/** Programs that are started from now on have it. */
void tellTheSystem()
{
    constexpr UINT patience = 2000; // ms
    SendMessageTimeoutW(HWND_BROADCAST, WM_SETTINGCHANGE, 0, reinterpret_cast<LPARAM>(keyName),
                        SMTO_ABORTIFHUNG, patience, nullptr);
}

const char* change(HKEY key, const std::wstring& folder, bool isAdded)
{
    const std::optional<UserPath> before = read(key);
    if (!before) {
        return "the PATH of this user cannot be read";
    }
    const UserPath after{before->type, changed(before->text, folder, isAdded)};
    if (after.text == before->text) {
        return nullptr;
    }
    if (isAdded && after.text.size() >= longest) {
        return "the PATH of this user would become too long";
    }
    if (!write(key, after)) {
        return "the PATH of this user cannot be written";
    }
    tellTheSystem();
    return nullptr;
}

} // namespace

int wmain(int count, wchar_t** words)
{
    const std::wstring action = count == 3 ? words[1] : L"";
    if (action != L"add" && action != L"remove") {
        std::fputs("usage: zarngi-path add|remove FOLDER\n", stderr);
        return 2;
    }
    HKEY key = nullptr;
    const LSTATUS status = RegCreateKeyExW(HKEY_CURRENT_USER, keyName, 0, nullptr, 0,
                                           KEY_READ | KEY_WRITE, nullptr, &key, nullptr);
    const char* const failure = status == ERROR_SUCCESS
                                    ? change(key, words[2], action == L"add")
                                    : "the settings of this user cannot be opened";
    if (status == ERROR_SUCCESS) {
        RegCloseKey(key);
    }
    if (failure != nullptr) {
        std::fprintf(stderr, "zarngi-path: %s\n", failure);
        return 1;
    }
    return 0;
}
