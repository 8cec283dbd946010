import { defaultSettings } from './lib/handoff.js';
import { kinds } from './lib/kinds.js';

const auto = document.getElementById('autoHandOff');
const kind = document.getElementById('autoKind');
for (const each of kinds) kind.add(new Option(each.label, each.id));

async function load() {
    const settings = await chrome.storage.local.get(defaultSettings);
    auto.checked = settings.autoHandOff === true;
    kind.value = settings.autoKind;
    if (kind.value === '') kind.value = 'guess';
}

async function save() {
    await chrome.storage.local.set({ autoHandOff: auto.checked, autoKind: kind.value });
    document.getElementById('saved').hidden = false;
}

auto.addEventListener('change', save);
kind.addEventListener('change', save);
load();
