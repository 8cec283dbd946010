import assert from 'node:assert/strict';
import { test } from 'node:test';

import { buildRecord, recordMessage } from '../lib/record.js';

function download(path, fields = {}) {
    return { id: 7, filename: path, state: 'complete', exists: true, url: 'http://127.0.0.1:8000/a', ...fields };
}

test('a song carries the keys the hand-off reads and no year', () => {
    const record = buildRecord(
        download('/home/ann/Downloads/Harbour Song.mp3', { referrer: 'http://127.0.0.1:8000/page' }),
        { kind: 'song', title: 'Harbour — live' },
    );
    assert.deepEqual(record, {
        title: 'Harbour — live',
        name: 'Harbour Song.mp3',
        filePath: '/home/ann/Downloads/Harbour Song.mp3',
        icon: 'audio.png',
        url: 'http://127.0.0.1:8000/a',
        referrer: 'http://127.0.0.1:8000/page',
    });
});

test('without a page title the title is the file name', () => {
    for (const title of [undefined, '', '   ']) {
        assert.equal(buildRecord(download('/d/x.ogg'), { kind: 'song', title }).title, 'x.ogg');
    }
});

test('video kinds are marked, with the thumbnail only when there is one', () => {
    for (const kind of ['music-video', 'feature-movie', 'tv-episode']) {
        const plain = buildRecord(download('/d/Clip.mp4'), { kind });
        assert.equal(plain.isVideo, 1, kind);
        assert.equal('iconData' in plain, false, kind);
        assert.equal(plain.icon, 'video.png');
        assert.equal(buildRecord(download('/d/Clip.mp4'), { kind, thumbnail: '/d/Clip.jpg' }).iconData, '/d/Clip.jpg');
    }
    for (const kind of ['song', 'podcast', 'ringtone']) {
        const record = buildRecord(download('/d/Clip.mp4'), { kind, thumbnail: '/d/Clip.jpg' });
        assert.equal('isVideo' in record, false, kind);
        assert.equal('iconData' in record, false, kind);
    }
});

test('awkward file names are carried exactly', () => {
    for (const name of ['My "Song" & co=1%.mp3', '.hidden.mp3', 'Été à Zürich — 北京.flac', 'a b  c.mp3', '%20.mp3']) {
        const record = buildRecord(download(`/home/ann/Down loads/${name}`), { kind: 'song' });
        assert.equal(record.name, name);
        assert.equal(record.filePath, `/home/ann/Down loads/${name}`);
    }
    assert.equal(buildRecord(download('/d/.hidden.mp3'), { kind: 'song' }).icon, 'audio.png');
    assert.equal(buildRecord(download('/d/.mp3'), { kind: 'song' }).icon, 'unknown.png');
    assert.equal(buildRecord(download('/d/noextension'), { kind: 'song' }).icon, 'unknown.png');
});

test('a long page title is passed whole', () => {
    const title = 'T'.repeat(10_000);
    assert.equal(buildRecord(download('/d/a.mp3'), { kind: 'song', title }).title.length, 10_000);
});

test('the message names the kind and holds the record', () => {
    const message = recordMessage(download('/d/a.m4a'), { kind: 'podcast' });
    assert.equal(message.type, 'record');
    assert.equal(message.kind, 'podcast');
    assert.equal(message.record.filePath, '/d/a.m4a');
});
