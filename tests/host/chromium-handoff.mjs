// Drives Chromium through the DevTools protocol over a pipe (no module needed): starts it with
// the unpacked add-on, asks the add-on to download URL as its context-menu entry does (with
// TITLE as the page's title), and prints the add-on's record of the hand-off as one line of
// JSON. Exits non-zero with the reason when the browser or the add-on does not get there.
//   node chromium-handoff.mjs CHROMIUM EXTENSION_DIR URL TITLE
import { spawn } from 'node:child_process';

const [chromium, extension, url, title] = process.argv.slice(2);
const extensionId = 'gamicopacodlilgleoacolibipngaoli';
const args = [
    '--remote-debugging-pipe',
    '--no-first-run',
    '--no-default-browser-check',
    '--disable-gpu',
    '--password-store=basic',
    // Debian's Chromium is not a branded build, but say it anyway: unpacked add-ons by flag.
    '--disable-features=DisableLoadExtensionCommandLineSwitch',
    `--disable-extensions-except=${extension}`,
    `--load-extension=${extension}`,
    'about:blank',
];
// Chromium's sandbox refuses to run as root (CI containers).
if (process.getuid?.() === 0) args.unshift('--no-sandbox');

const browser = spawn(chromium, args, { stdio: ['ignore', 'ignore', 'pipe', 'pipe', 'pipe'] });
let log = '';
browser.stderr.on('data', (chunk) => {
    log = (log + chunk).slice(-4000);
});
const pending = new Map();
let nextId = 1;
let buffer = '';
browser.stdio[4].on('data', (chunk) => {
    buffer += chunk.toString('utf8');
    let end;
    while ((end = buffer.indexOf('\0')) >= 0) {
        const message = JSON.parse(buffer.slice(0, end));
        buffer = buffer.slice(end + 1);
        const waiter = pending.get(message.id);
        if (waiter) {
            pending.delete(message.id);
            if (message.error) waiter.reject(new Error(JSON.stringify(message.error)));
            else waiter.resolve(message.result);
        }
    }
});

function send(method, params = {}, sessionId = undefined) {
    const id = nextId++;
    browser.stdio[3].write(`${JSON.stringify({ id, method, params, sessionId })}\0`);
    return new Promise((resolve, reject) => pending.set(id, { resolve, reject }));
}

const sleep = (ms) => new Promise((resolve) => setTimeout(resolve, ms));

async function until(what, seconds, probe) {
    const deadline = Date.now() + seconds * 1000;
    for (;;) {
        const value = await probe();
        if (value) return value;
        if (Date.now() > deadline) throw new Error(`timed out waiting for ${what}`);
        await sleep(200);
    }
}

async function main() {
    await send('Target.setDiscoverTargets', { discover: true });
    const worker = await until('the add-on\'s service worker', 30, async () => {
        const { targetInfos } = await send('Target.getTargets');
        return targetInfos.find(
            (target) => target.type === 'service_worker' && target.url.startsWith(`chrome-extension://${extensionId}/`),
        );
    });
    const { sessionId } = await send('Target.attachToTarget', { targetId: worker.targetId, flatten: true });
    const evaluate = async (expression) => {
        const { result, exceptionDetails } = await send(
            'Runtime.evaluate',
            { expression, awaitPromise: true, returnByValue: true },
            sessionId,
        );
        if (exceptionDetails) throw new Error(exceptionDetails.exception?.description ?? exceptionDetails.text);
        return result.value;
    };
    await until('the add-on to start', 10, () => evaluate('typeof globalThis.tolvane === "object"'));
    await evaluate(`tolvane.downloadToTolvane(${JSON.stringify(url)}, ${JSON.stringify(title)})`);
    const outcome = await until('the hand-off', 60, () =>
        evaluate('chrome.storage.session.get("lastHandOff").then((stored) => stored.lastHandOff ?? null)'),
    );
    console.log(JSON.stringify(outcome));
}

const timer = setTimeout(() => {
    console.error('chromium-handoff: gave up after 120 s');
    process.exit(3);
}, 120_000);
try {
    await main();
    process.exitCode = 0;
} catch (error) {
    console.error(`chromium-handoff: ${error.message}\n--- chromium said:\n${log}`);
    process.exitCode = 1;
} finally {
    clearTimeout(timer);
    browser.kill();
}
