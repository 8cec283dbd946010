import { guessKind, isImportable, thumbnailFor } from './downloads.js';
import { sendToHost } from './host.js';
import { isKind } from './kinds.js';
import { fileNameOf } from './kinds.js';
import { recordMessage } from './record.js';

// The options page's settings and their defaults: nothing is handed over on its own.
export const defaultSettings = { autoHandOff: false, autoKind: 'guess' };

// Hands one finished download to Tolvane as `kind` (guessed from its type when not given).
// `api` holds the browser's `runtime` and `downloads` objects.
export async function handOver(api, item, { kind = null, title = '' } = {}) {
    const chosen = kind && isKind(kind) ? kind : guessKind(item.mime, fileNameOf(item.filename));
    if (!chosen) throw new Error(`${fileNameOf(item.filename)} is neither audio nor video`);
    // The browser's view of the file may be old: ask again so a removed file is told plainly.
    const [fresh] = await api.downloads.search({ id: item.id });
    const current = fresh ?? item;
    if (current.exists === false) throw new Error(`${fileNameOf(item.filename)} is no longer there`);
    const others = await api.downloads.search({ state: 'complete' });
    const message = recordMessage(current, {
        kind: chosen,
        title,
        thumbnail: thumbnailFor(current, others),
    });
    return sendToHost(api.runtime, message);
}

// What to do when a download finishes: hand it over with the page's title when the user asked
// for it from the context menu (`requested`), or on its own when the option says so. Returns the
// host's reply, or null when nothing was handed over.
export async function onDownloadFinished(api, item, { requested = null, settings = defaultSettings }) {
    if (requested) return handOver(api, item, { title: requested.title });
    if (!settings.autoHandOff || !isImportable(item)) return null;
    const kind = settings.autoKind === 'guess' ? null : settings.autoKind;
    return handOver(api, item, { kind });
}
