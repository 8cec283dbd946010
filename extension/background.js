// The add-on's background: the context-menu entry "Download to Tolvane" and the hand-off of
// finished downloads. The worker may be stopped between events, so what it must remember (the
// downloads asked for from the menu) lives in storage.session.
import { defaultSettings, onDownloadFinished } from './lib/handoff.js';

const menuId = 'download-to-tolvane';
const api = { runtime: chrome.runtime, downloads: chrome.downloads };
const menus = chrome.contextMenus ?? chrome.menus;

chrome.runtime.onInstalled.addListener(() => {
    menus.create({ id: menuId, title: 'Download to Tolvane', contexts: ['link', 'audio', 'video'] });
});

async function remember(id, request) {
    await chrome.storage.session.set({ [`requested:${id}`]: request });
}

async function takeRequest(id) {
    const key = `requested:${id}`;
    const stored = await chrome.storage.session.get(key);
    await chrome.storage.session.remove(key);
    return stored[key] ?? null;
}

// Downloads the link or the media element's source; the page's title becomes the record's.
export async function downloadToTolvane(url, pageTitle) {
    const id = await chrome.downloads.download({ url });
    await remember(id, { title: pageTitle ?? '' });
    return id;
}

menus.onClicked.addListener((info, tab) => {
    if (info.menuItemId !== menuId) return;
    const url = info.srcUrl || info.linkUrl;
    if (url) downloadToTolvane(url, tab?.title).catch((error) => console.error(error));
});

chrome.downloads.onChanged.addListener(async (delta) => {
    if (delta.state?.current !== 'complete') return;
    const [item] = await chrome.downloads.search({ id: delta.id });
    if (!item) return;
    const requested = await takeRequest(delta.id);
    const settings = await chrome.storage.local.get(defaultSettings);
    try {
        const reply = await onDownloadFinished(api, item, { requested, settings });
        if (reply) await chrome.storage.session.set({ lastHandOff: { ok: true, ...reply } });
    } catch (error) {
        await chrome.storage.session.set({ lastHandOff: { ok: false, error: String(error.message ?? error) } });
        console.error('Tolvane:', error);
    }
});

// For checking the add-on from the browser's developer tools.
globalThis.tolvane = { downloadToTolvane };
