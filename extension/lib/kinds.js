import { fileTypes } from './fileTypes.js';

// The media kinds Tolvane imports as, in the order the menus offer them.
export const kinds = [
    { id: 'song', label: 'Song' },
    { id: 'music-video', label: 'Music Video' },
    { id: 'feature-movie', label: 'Movie' },
    { id: 'tv-episode', label: 'TV Episode' },
    { id: 'podcast', label: 'Podcast' },
    { id: 'ringtone', label: 'Ringtone' },
];

const videoKinds = new Set(['music-video', 'feature-movie', 'tv-episode']);

export function isKind(id) {
    return kinds.some((kind) => kind.id === id);
}

export function isVideoKind(id) {
    return videoKinds.has(id);
}

// The last path component of a path the browser saved to.
export function fileNameOf(path) {
    const text = String(path ?? '');
    return text.slice(text.lastIndexOf('/') + 1);
}

// The extension of a file name, lower-cased, without the dot; a leading dot starts no
// extension (".profile" has none).
export function extensionOf(name) {
    const dot = name.lastIndexOf('.');
    return dot > 0 ? name.slice(dot + 1).toLowerCase() : '';
}

function tableEntry(icon) {
    return fileTypes.find((entry) => entry.icon === icon);
}

// "audio", "video" or null: the MIME type decides when it says audio or video, the extension
// otherwise (servers often send application/octet-stream).
export function mediaClass(mime, fileName) {
    const type = String(mime ?? '').toLowerCase();
    if (type.startsWith('audio/')) return 'audio';
    if (type.startsWith('video/')) return 'video';
    const extension = extensionOf(fileName);
    if (extension === '') return null;
    if (tableEntry('audio').extensions.includes(extension)) return 'audio';
    if (tableEntry('video').extensions.includes(extension)) return 'video';
    return null;
}

// The kind offered first: a song for audio, a music video for video.
export function guessKind(mime, fileName) {
    const media = mediaClass(mime, fileName);
    if (media === 'audio') return 'song';
    if (media === 'video') return 'music-video';
    return null;
}

// The file-type table's icon file for a file name: the first entry listing its extension, else
// "unknown.png".
export function iconFor(fileName) {
    const extension = extensionOf(fileName);
    const entry = fileTypes.find((candidate) => candidate.extensions.includes(extension));
    return entry ? `${entry.icon}.png` : 'unknown.png';
}
