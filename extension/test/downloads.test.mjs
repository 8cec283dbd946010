import assert from 'node:assert/strict';
import { test } from 'node:test';

import {
    formatSize,
    importableDownloads,
    isImportable,
    siteOf,
    thumbnailFor,
} from '../lib/downloads.js';

function download(name, fields = {}) {
    return {
        id: Math.floor(Math.random() * 1e9),
        filename: `/home/ann/Downloads/${name}`,
        state: 'complete',
        exists: true,
        mime: '',
        url: 'https://music.example.org/files/x',
        endTime: '2024-05-01T10:00:00.000Z',
        ...fields,
    };
}

test('a download is listed only when finished, still there, local and audio or video', () => {
    const cases = [
        [download('a.mp3'), true],
        [download('a.MP4'), true],
        [download('clip', { mime: 'video/webm' }), true],
        [download('talk.bin', { mime: 'audio/mpeg' }), true],
        [download('a.mp3', { mime: 'application/octet-stream' }), true],
        [download('a.mp3', { state: 'in_progress' }), false],
        [download('a.mp3', { state: 'interrupted' }), false],
        [download('a.mp3', { exists: false }), false],
        [download('a.pdf', { mime: 'application/pdf' }), false],
        [download('.mp3'), false],
        [download('README'), false],
        [{ ...download('a.mp3'), filename: 'a.mp3' }, false],
        [null, false],
    ];
    for (const [item, expected] of cases) {
        assert.equal(isImportable(item), expected, item?.filename ?? 'null');
    }
});

test('the list is newest first and holds at most 20', () => {
    const items = [];
    for (let n = 0; n < 30; n += 1) {
        items.push(download(`song ${n}.mp3`, { endTime: new Date(Date.UTC(2024, 0, 1, 0, n)).toISOString() }));
    }
    items.push(download('paper.pdf', { endTime: '2030-01-01T00:00:00Z' }));
    const listed = importableDownloads(items);
    assert.equal(listed.length, 20);
    assert.equal(listed[0].filename, '/home/ann/Downloads/song 29.mp3');
    assert.equal(listed[19].filename, '/home/ann/Downloads/song 10.mp3');
    assert.equal(importableDownloads(items, 3).length, 3);
    assert.deepEqual(importableDownloads([]), []);
});

test('the site is the page the download came from, else the file address', () => {
    assert.equal(siteOf(download('a.mp3', { referrer: 'https://blog.example.net/post' })), 'blog.example.net');
    assert.equal(siteOf(download('a.mp3', { referrer: '' })), 'music.example.org');
    assert.equal(siteOf(download('a.mp3', { url: 'data:audio/mpeg;base64,AAAA', referrer: '' })), '');
    assert.equal(siteOf(download('a.mp3', { url: 'http://127.0.0.1:8080/a.mp3' })), '127.0.0.1');
});

test('sizes read as people read them', () => {
    assert.equal(formatSize(0), '0 bytes');
    assert.equal(formatSize(1), '1 byte');
    assert.equal(formatSize(999), '999 bytes');
    assert.equal(formatSize(3_400_000), '3.4 MB');
    assert.equal(formatSize(250_000_000), '250 MB');
    assert.equal(formatSize(-1), '');
    assert.equal(formatSize(undefined), '');
});

test('a thumbnail is an image download of the same name in the same folder, still there', () => {
    const video = download('Clip.mp4');
    const same = download('Clip.jpg');
    assert.equal(thumbnailFor(video, [video, download('Other.jpg'), same]), same.filename);
    assert.equal(thumbnailFor(video, [video, download('Clip.jpg', { exists: false })]), null);
    assert.equal(thumbnailFor(video, [video, { ...same, filename: '/tmp/Clip.jpg' }]), null);
    assert.equal(thumbnailFor(video, [video, download('Clip.txt')]), null);
    assert.equal(thumbnailFor(video, [video, download('Clip.mp4.jpg')]), null);
    assert.equal(thumbnailFor(video, [video]), null);
});
