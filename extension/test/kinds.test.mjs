import assert from 'node:assert/strict';
import { createHash } from 'node:crypto';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';

import { fileTypes } from '../lib/fileTypes.js';
import { extensionOf, guessKind, iconFor, isKind, isVideoKind, kinds } from '../lib/kinds.js';

const source = new URL('../../', import.meta.url);

test('the kind offered first: audio is a song, video a music video', () => {
    const cases = [
        ['audio/mpeg', 'a.bin', 'song'],
        ['video/mp4', 'a.bin', 'music-video'],
        ['audio/mp4', 'a.mp4', 'song'],
        ['', 'a.FLAC', 'song'],
        ['application/octet-stream', 'a.mkv', 'music-video'],
        ['', 'a.pdf', null],
        ['text/html', 'a', null],
        [undefined, '.mp3', null],
    ];
    for (const [mime, name, expected] of cases) assert.equal(guessKind(mime, name), expected, `${mime} ${name}`);
});

test('the six kinds, three of them video', () => {
    assert.deepEqual(
        kinds.map((kind) => kind.id),
        ['song', 'music-video', 'feature-movie', 'tv-episode', 'podcast', 'ringtone'],
    );
    assert.equal(isKind('videoPodcast'), false);
    assert.deepEqual(kinds.map((kind) => kind.id).filter(isVideoKind), ['music-video', 'feature-movie', 'tv-episode']);
});

test('extensions and icons follow the file-type table', () => {
    assert.equal(extensionOf('a.TAR.GZ'), 'gz');
    assert.equal(extensionOf('.profile'), '');
    assert.equal(iconFor('Song.MP3'), 'audio.png');
    assert.equal(iconFor('movie.webm'), 'video.png');
    assert.equal(iconFor('notes.txt'), 'text.png');
    assert.equal(iconFor('thing.xyz'), 'unknown.png');
});

// The add-on keeps its own copy of the installed table: it must say what the table says.
test('the copy of the file-type table matches data/fileTypes.plist', () => {
    const xml = readFileSync(new URL('data/fileTypes.plist', source), 'utf8');
    const entries = [];
    for (const [, body] of xml.matchAll(/<key>[^<]*<\/key>\s*<dict>([\s\S]*?)<\/dict>/g)) {
        const icon = /<key>icon<\/key>\s*<string>([^<]*)<\/string>/.exec(body)[1];
        const list = /<key>extensions<\/key>\s*<array>([\s\S]*?)<\/array>/.exec(body)[1];
        const extensions = [...list.matchAll(/<string>([^<]*)<\/string>/g)].map((match) => match[1]);
        entries.push({ icon, extensions });
    }
    assert.ok(entries.length > 10);
    assert.deepEqual(fileTypes, entries);
});

// The Chromium id the host manifests allow is the one the manifest's key gives.
test('the pinned key gives the id the host allows, and Firefox gets its id', () => {
    const manifest = JSON.parse(readFileSync(new URL('extension/manifest.json', source), 'utf8'));
    const digest = createHash('sha256').update(Buffer.from(manifest.key, 'base64')).digest('hex');
    const id = [...digest.slice(0, 32)].map((c) => String.fromCharCode(97 + parseInt(c, 16))).join('');
    const host = readFileSync(new URL('src/app/host/NativeHostManifests.h', source), 'utf8');
    assert.match(host, new RegExp(`chromiumExtensionId = "${id}"`));
    assert.match(host, new RegExp(`geckoExtensionId = "${manifest.browser_specific_settings.gecko.id}"`));
    assert.equal(manifest.manifest_version, 3);
    for (const permission of ['downloads', 'nativeMessaging', 'contextMenus', 'storage']) {
        assert.ok(manifest.permissions.includes(permission), permission);
    }
});
