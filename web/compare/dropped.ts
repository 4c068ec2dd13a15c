/** Files that are dropped or chosen, with folders unfolded. */

export interface NamedFile {
    /** With the folders below the one that was dropped: "plan/RD.dcm". */
    path: string;
    file: File;
}

export function chosen(list: FileList | null): NamedFile[] {
    return [...(list ?? [])].map((file) => ({ path: file.webkitRelativePath || file.name, file }));
}

type Item = DataTransferItem & { getAsFileSystemHandle?(): Promise<FileSystemHandle | null> };

/** Has to be called while the event is handled: afterwards the browser hides what was dropped. */
export function dropped(transfer: DataTransfer): Promise<NamedFile[]> {
    const items = [...transfer.items].filter((item) => item.kind === 'file') as Item[];
    const found = items.map((item) => {
        const file = item.getAsFile();
        const plain = file ? [{ path: file.name, file }] : [];
        const entry = item.webkitGetAsEntry?.() ?? null;
        if (item.getAsFileSystemHandle) {
            return item.getAsFileSystemHandle().then((handle) => (handle ? unfolded(handle, '') : plain));
        }
        return entry?.isDirectory ? entriesOf(entry as FileSystemDirectoryEntry) : Promise.resolve(plain);
    });
    return Promise.all(found).then((lists) => lists.flat());
}

type Directory = FileSystemDirectoryHandle & { values(): AsyncIterable<FileSystemHandle> };

async function unfolded(handle: FileSystemHandle, folder: string): Promise<NamedFile[]> {
    const path = folder + handle.name;
    if (handle.kind === 'file') {
        return [{ path, file: await (handle as FileSystemFileHandle).getFile() }];
    }
    const files: NamedFile[] = [];
    for await (const child of (handle as Directory).values()) {
        files.push(...(await unfolded(child, `${path}/`)));
    }
    return files;
}

/** Where there are no handles: Firefox and Safari. */
async function entriesOf(directory: FileSystemDirectoryEntry): Promise<NamedFile[]> {
    const reader = directory.createReader();
    const files: NamedFile[] = [];
    for (;;) {
        const entries = await new Promise<FileSystemEntry[]>((done, fail) => reader.readEntries(done, fail));
        if (entries.length === 0) {
            return files;
        }
        for (const entry of entries) {
            files.push(...(await (entry.isDirectory ? entriesOf(entry as FileSystemDirectoryEntry) : fileOf(entry))));
        }
    }
}

async function fileOf(entry: FileSystemEntry): Promise<NamedFile[]> {
    const file = await new Promise<File>((done, fail) => (entry as FileSystemFileEntry).file(done, fail));
    return [{ path: entry.fullPath.replace(/^\//, ''), file }];
}
