; The installer for this user, without administrator's rights. scripts/windows.sh gives VERSION, FOLDER (what is
; installed), TOOLS (with zarngi-path.exe), REMOVAL (what takes every file away again) and OUTPUT.
Target amd64-unicode
!include LogicLib.nsh
!include WinVer.nsh
Name "ZarnGI ${VERSION}"
OutFile "${OUTPUT}"
InstallDir "$LOCALAPPDATA\Programs\ZarnGI"
InstallDirRegKey HKCU "Software\ZarnGI" "Folder"
RequestExecutionLevel user
SetCompressor /SOLID lzma
SetDateSave off
ManifestDPIAware true
ManifestLongPathAware true
ManifestSupportedOS Win10
!define UNINSTALL "Software\Microsoft\Windows\CurrentVersion\Uninstall\ZarnGI"

VIProductVersion "${VERSION}.0"
VIAddVersionKey "ProductName" "ZarnGI"
VIAddVersionKey "CompanyName" "The ZarnGI maintainers"
VIAddVersionKey "FileDescription" "Installs ZarnGI for this user"
VIAddVersionKey "FileVersion" "${VERSION}"
VIAddVersionKey "ProductVersion" "${VERSION}"
VIAddVersionKey "LegalCopyright" ""

Page components
Page directory
Page instfiles
UninstPage uninstConfirm
UninstPage instfiles

; An older system refuses the program by the version in its header. One of 32 bits does not start this installer.
Function .onInit
    ${IfNot} ${AtLeastWin10}
        MessageBox MB_OK|MB_ICONSTOP "ZarnGI ${VERSION} needs Windows 10 or 11 of 64 bits, and this Windows is older: \
nothing was installed; install it on a newer one." /SD IDOK
        SetErrorLevel 2
        Quit
    ${EndIf}
FunctionEnd

Section "Program, page and libraries"
    SectionIn RO
    SetOutPath "$INSTDIR"
    File /r "${FOLDER}/*"
    File "${TOOLS}/zarngi-path.exe"
    WriteUninstaller "$INSTDIR\uninstall.exe"
    WriteRegStr HKCU "Software\ZarnGI" "Folder" "$INSTDIR"
    WriteRegStr HKCU "${UNINSTALL}" "DisplayName" "ZarnGI"
    WriteRegStr HKCU "${UNINSTALL}" "DisplayVersion" "${VERSION}"
    WriteRegStr HKCU "${UNINSTALL}" "InstallLocation" "$INSTDIR"
    WriteRegStr HKCU "${UNINSTALL}" "DisplayIcon" "$INSTDIR\zarngi.exe"
    WriteRegStr HKCU "${UNINSTALL}" "UninstallString" '"$INSTDIR\uninstall.exe"'
    WriteRegStr HKCU "${UNINSTALL}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
    WriteRegDWORD HKCU "${UNINSTALL}" "NoModify" 1
    WriteRegDWORD HKCU "${UNINSTALL}" "NoRepair" 1
SectionEnd

Section "Start menu"
    CreateDirectory "$SMPROGRAMS\ZarnGI"
    IfFileExists "$INSTDIR\zarngi.html" 0 +2
    CreateShortcut "$SMPROGRAMS\ZarnGI\Compare doses (zarngi.html).lnk" "$INSTDIR\zarngi.html"
    CreateShortcut "$SMPROGRAMS\ZarnGI\Documentation.lnk" "$INSTDIR\documentation\index.html"
SectionEnd

; By a program of its own: strings of an installer end after 1024 characters.
Section "zarngi in the PATH"
    nsExec::Exec '"$INSTDIR\zarngi-path.exe" add "$INSTDIR"'
    Pop $0
    StrCmp $0 "0" +2
    DetailPrint "The PATH was left as it is; zarngi.exe is in $INSTDIR"
SectionEnd

Section "Uninstall"
    nsExec::Exec '"$INSTDIR\zarngi-path.exe" remove "$INSTDIR"'
    Pop $0
    Delete "$SMPROGRAMS\ZarnGI\*.lnk"
    RMDir "$SMPROGRAMS\ZarnGI"
    ; What was installed and nothing else: the folder may hold a person's files.
    !include "${REMOVAL}"
    Delete "$INSTDIR\zarngi-path.exe"
    Delete "$INSTDIR\uninstall.exe"
    RMDir "$INSTDIR"
    DeleteRegKey HKCU "${UNINSTALL}"
    DeleteRegKey HKCU "Software\ZarnGI"
SectionEnd
