import { extensionOf, fileNameOf, guessKind, mediaClass } from './kinds.js';

// How many downloads the popup lists.
export const listedCount = 20;

// A finished download whose file is still there and that Tolvane can import (audio or video).
export function isImportable(item) {
    return (
        item != null &&
        item.state === 'complete' &&
        item.exists !== false &&
        typeof item.filename === 'string' &&
        item.filename.startsWith('/') &&
        mediaClass(item.mime, fileNameOf(item.filename)) !== null
    );
}

function finishedAt(item) {
    const time = Date.parse(item.endTime ?? item.startTime ?? '');
    return Number.isNaN(time) ? 0 : time;
}

// The downloads the popup lists: importable ones, newest first, at most `count`.
export function importableDownloads(items, count = listedCount) {
    return items
        .filter(isImportable)
        .sort((a, b) => finishedAt(b) - finishedAt(a))
        .slice(0, count);
}

// The site a download came from: the host of its page, else of its own address.
export function siteOf(item) {
    for (const address of [item.referrer, item.finalUrl, item.url]) {
        try {
            const host = new URL(address).hostname;
            if (host) return host;
        } catch {
            // not an address with a host (empty, data:, blob:); try the next
        }
    }
    return '';
}

// "0 bytes", "812 bytes", "3.4 MB"...
export function formatSize(bytes) {
    const size = Number(bytes);
    if (!Number.isFinite(size) || size < 0) return '';
    if (size < 1000) return `${size} byte${size === 1 ? '' : 's'}`;
    const units = ['kB', 'MB', 'GB', 'TB'];
    let value = size;
    let unit = -1;
    while (value >= 1000 && unit < units.length - 1) {
        value /= 1000;
        unit += 1;
    }
    return `${value.toFixed(value < 10 ? 1 : 0)} ${units[unit]}`;
}

const imageExtensions = new Set(['jpg', 'jpeg', 'png', 'webp']);

// A thumbnail for a video: a finished image download of the same name in the same folder
// ("Clip.mp4" and "Clip.jpg") whose file is still there.
export function thumbnailFor(item, items) {
    const folder = item.filename.slice(0, item.filename.lastIndexOf('/') + 1);
    const name = fileNameOf(item.filename);
    const stem = name.slice(0, name.length - extensionOf(name).length - 1);
    const found = items.find((other) => {
        if (other === item || other.state !== 'complete' || other.exists === false) return false;
        if (typeof other.filename !== 'string' || !other.filename.startsWith(folder)) return false;
        const otherName = other.filename.slice(folder.length);
        const extension = extensionOf(otherName);
        return (
            !otherName.includes('/') &&
            imageExtensions.has(extension) &&
            otherName.slice(0, otherName.length - extension.length - 1) === stem
        );
    });
    return found ? found.filename : null;
}

export { guessKind };
