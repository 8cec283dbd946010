import { fileNameOf, iconFor, isVideoKind } from './kinds.js';

// The record the native host writes into the store "downloads" for Tolvane's hand-off:
// "title" (the page's title, else the file name), "name" (the file name), "filePath" (where the
// browser saved it), "icon" (the file-type table's icon), "isVideo" 1 for the video kinds with
// "iconData" only when there is a thumbnail file, and "url" and "referrer" for the user's own
// records. "year" is left out: the editor falls back to the current year.
export function buildRecord(item, { kind, title = '', thumbnail = null } = {}) {
    const name = fileNameOf(item.filename);
    const record = {
        title: typeof title === 'string' && title.trim() !== '' ? title : name,
        name,
        filePath: item.filename,
        icon: iconFor(name),
    };
    if (isVideoKind(kind)) {
        record.isVideo = 1;
        if (thumbnail) record.iconData = thumbnail;
    }
    const url = item.finalUrl || item.url;
    if (url) record.url = url;
    if (item.referrer) record.referrer = item.referrer;
    return record;
}

// The message that hands a download over.
export function recordMessage(item, options) {
    return { type: 'record', kind: options.kind, record: buildRecord(item, options) };
}
