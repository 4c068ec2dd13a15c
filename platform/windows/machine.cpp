#include "platform/machine.h"

#include <windows.h>

#include <array>

#include "platform/windows/wide.h"

namespace platform
{

namespace
{

/** A text of the registry's part about the machine; empty where it is not there. */
std::string registryText(const wchar_t* key, const wchar_t* name)
{
    std::array<wchar_t, 256> text{};
    DWORD bytes = sizeof text;
    if (RegGetValueW(HKEY_LOCAL_MACHINE, key, name, RRF_RT_REG_SZ, nullptr, text.data(), &bytes) !=
        ERROR_SUCCESS) {
        return {};
    }
    return narrowOf(text.data());
}

std::string fileOf(HMODULE module)
{
    std::wstring path(32768, L'\0'); // as long as paths can be
    path.resize(GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size())));
    return narrowOf(path);
}

} // namespace

std::string systemName()
{
    const wchar_t* const key = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion";
    return registryText(key, L"ProductName") + ", build " + registryText(key, L"CurrentBuild");
}

std::string processorName()
{
    return registryText(L"HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0",
                        L"ProcessorNameString");
}

std::string programFile()
{
    return fileOf(nullptr);
}

std::string fileOfCode(const void* address)
{
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                           GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       static_cast<const wchar_t*>(address), &module);
    return module != nullptr ? fileOf(module) : "";
}

} // namespace platform
