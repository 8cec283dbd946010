import { formatSize, guessKind, importableDownloads, siteOf } from './lib/downloads.js';
import { handOver } from './lib/handoff.js';
import { describeHostError, installCommand, sendToHost } from './lib/host.js';
import { fileNameOf, kinds } from './lib/kinds.js';

const api = { runtime: chrome.runtime, downloads: chrome.downloads };
const message = document.getElementById('message');

function say(text, { ok = false, command = null } = {}) {
    message.hidden = false;
    message.className = ok ? 'ok' : '';
    message.textContent = text;
    if (command) {
        message.append(document.createElement('br'));
        const code = document.createElement('code');
        code.textContent = command;
        message.append(code);
    }
}

function sayFailure(error) {
    if (error?.missing) {
        say(`Tolvane's helper is not installed for this browser (${error.message}). Install it with:`, {
            command: installCommand,
        });
    } else {
        say(describeHostError(error));
    }
}

function row(item) {
    const node = document.getElementById('row').content.firstElementChild.cloneNode(true);
    const name = fileNameOf(item.filename);
    node.querySelector('.name').textContent = name;
    node.querySelector('.size').textContent = formatSize(item.fileSize ?? item.totalBytes);
    node.querySelector('.site').textContent = siteOf(item) || 'this computer';
    const select = node.querySelector('.kind');
    for (const kind of kinds) select.add(new Option(kind.label, kind.id));
    select.value = guessKind(item.mime, name);
    node.querySelector('.import').addEventListener('click', async () => {
        try {
            await handOver(api, item, { kind: select.value });
            say(`${name} is in Tolvane's editor.`, { ok: true });
        } catch (error) {
            sayFailure(error);
        }
    });
    node.querySelector('.show').addEventListener('click', async () => {
        try {
            await sendToHost(api.runtime, { type: 'browse', path: item.filename });
            say(`Tolvane shows the folder of ${name}.`, { ok: true });
        } catch (error) {
            sayFailure(error);
        }
    });
    return node;
}

async function show() {
    const items = await chrome.downloads.search({ state: 'complete', orderBy: ['-endTime'], limit: 500 });
    const listed = importableDownloads(items);
    document.getElementById('empty').hidden = listed.length > 0;
    document.getElementById('downloads').replaceChildren(...listed.map(row));
    try {
        await sendToHost(api.runtime, { type: 'ping' });
    } catch (error) {
        sayFailure(error);
    }
}

show();
