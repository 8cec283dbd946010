import assert from 'node:assert/strict';
import { test } from 'node:test';

import { handOver, onDownloadFinished } from '../lib/handoff.js';
import { HostError, describeHostError, hostName, installCommand, sendToHost } from '../lib/host.js';

// The browser's runtime and downloads objects, as plain objects: the host answers with
// `answer`, and the downloads known are `items`.
function browser({ items = [], answer = (message) => ({ ok: true, entry: message.record?.name }) } = {}) {
    const sent = [];
    return {
        sent,
        runtime: {
            async sendNativeMessage(host, message) {
                sent.push({ host, message });
                return answer(message);
            },
        },
        downloads: {
            async search(query) {
                return items.filter(
                    (item) => (query.id === undefined || item.id === query.id) && (query.state === undefined || item.state === query.state),
                );
            },
        },
    };
}

function download(id, name, fields = {}) {
    return { id, filename: `/home/ann/Downloads/${name}`, state: 'complete', exists: true, mime: '', url: 'http://127.0.0.1/x', ...fields };
}

test('a download is handed over as the kind asked for, to the host by name', async () => {
    const song = download(1, 'a.mp3');
    const api = browser({ items: [song] });
    const reply = await handOver(api, song, { kind: 'ringtone', title: 'Page' });
    assert.equal(reply.entry, 'a.mp3');
    assert.equal(api.sent.length, 1);
    assert.equal(api.sent[0].host, hostName);
    assert.equal(api.sent[0].message.kind, 'ringtone');
    assert.equal(api.sent[0].message.record.title, 'Page');
});

test('without a kind, the guess; an unknown kind is not sent', async () => {
    const clip = download(2, 'c.webm');
    const api = browser({ items: [clip, download(3, 'c.png')] });
    await handOver(api, clip, { kind: 'videoPodcast' });
    assert.equal(api.sent[0].message.kind, 'music-video');
    assert.equal(api.sent[0].message.record.iconData, '/home/ann/Downloads/c.png');
    await assert.rejects(handOver(api, download(4, 'a.pdf')), /neither audio nor video/);
    assert.equal(api.sent.length, 1);
});

test('a file removed since the download finished is not sent', async () => {
    const listed = download(5, 'gone.mp3');
    const api = browser({ items: [{ ...listed, exists: false }] });
    await assert.rejects(handOver(api, listed, { kind: 'song' }), /no longer there/);
    assert.equal(api.sent.length, 0);
});

test('a missing host is told with the command that installs it', async () => {
    const api = browser({
        answer: () => {
            throw new Error('Specified native messaging host not found.');
        },
    });
    const error = await sendToHost(api.runtime, { type: 'ping' }).catch((caught) => caught);
    assert.ok(error instanceof HostError);
    assert.equal(error.missing, true);
    assert.match(describeHostError(error), new RegExp(installCommand));
});

test('a host that refuses is told with its reason', async () => {
    const api = browser({ answer: () => ({ ok: false, error: 'the downloaded file is not there' }) });
    const error = await sendToHost(api.runtime, { type: 'ping' }).catch((caught) => caught);
    assert.equal(error.missing, false);
    assert.match(describeHostError(error), /the downloaded file is not there/);
    assert.doesNotMatch(describeHostError(error), /install/);
    const silent = await sendToHost(browser({ answer: () => undefined }).runtime, {}).catch((caught) => caught);
    assert.match(silent.message, /no answer/);
});

test('finished downloads are handed over on their own only when the option says so', async () => {
    const song = download(6, 'b.mp3');
    const off = browser({ items: [song] });
    assert.equal(await onDownloadFinished(off, song, { settings: { autoHandOff: false, autoKind: 'guess' } }), null);
    assert.equal(off.sent.length, 0);

    const on = browser({ items: [song, download(7, 'doc.pdf')] });
    await onDownloadFinished(on, song, { settings: { autoHandOff: true, autoKind: 'podcast' } });
    assert.equal(await onDownloadFinished(on, download(7, 'doc.pdf'), { settings: { autoHandOff: true, autoKind: 'guess' } }), null);
    assert.deepEqual(on.sent.map((each) => each.message.kind), ['podcast']);
});

test('a download asked for from the menu carries the page title, whatever the option', async () => {
    const song = download(8, 'c.mp3');
    const api = browser({ items: [song] });
    await onDownloadFinished(api, song, { requested: { title: 'Live at the Harbour' }, settings: { autoHandOff: false } });
    assert.equal(api.sent[0].message.record.title, 'Live at the Harbour');
    assert.equal(api.sent[0].message.kind, 'song');
});
