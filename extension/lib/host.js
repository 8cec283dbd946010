// Talking to Tolvane's native-messaging host (tolvane-cli native-host).

export const hostName = 'com.merrowby.tolvane';
export const installCommand = 'tolvane-cli native-host --install-user';

// Thrown when the host cannot be reached or refuses a message; `missing` when the browser
// does not find the host at all.
export class HostError extends Error {
    constructor(message, { missing = false } = {}) {
        super(message);
        this.name = 'HostError';
        this.missing = missing;
    }
}

function looksMissing(text) {
    return /not found|not installed|no such native application|exited|access to the specified native messaging host is forbidden/i.test(
        text,
    );
}

// Sends one message and returns the host's reply when it says ok; `runtime` is the browser's
// runtime object (anything with sendNativeMessage(host, message) giving a promise).
export async function sendToHost(runtime, message) {
    let reply;
    try {
        reply = await runtime.sendNativeMessage(hostName, message);
    } catch (error) {
        const text = String(error?.message ?? error);
        throw new HostError(text, { missing: looksMissing(text) });
    }
    if (!reply || reply.ok !== true) {
        throw new HostError(reply?.error ? String(reply.error) : 'Tolvane gave no answer');
    }
    return reply;
}

// What the popup says when the host fails.
export function describeHostError(error) {
    if (error instanceof HostError && error.missing) {
        return `Tolvane's helper is not installed for this browser (${error.message}). Install it with: ${installCommand}`;
    }
    return `Tolvane could not take the download: ${error?.message ?? error}`;
}
