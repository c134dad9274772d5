'use strict';
// The official JavaScript SDK of the realtime database, in its emulator mode, against
// tallyra-local --plain: set, update, push, remove, listen, server values, a transaction,
// on-disconnect writes, large values and access isolation.
// usage: node check.js PATH/TO/tallyra-local
const { spawn } = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { initializeApp, deleteApp } = require('firebase/app');
const database = require('firebase/database');

const NAMESPACE = 'tallyra-local';
const ACCOUNT = 'services/7/accounts/9';
const { ref, set, update, push, remove, get, onValue, onChildAdded } = database;

function startService(binary, dataDirectory) {
    return new Promise((resolve, reject) => {
        const child = spawn(binary, ['--plain', '--listen', '127.0.0.1:0', '--data', dataDirectory], {
            stdio: ['ignore', 'pipe', 'inherit'],
        });
        let output = '';
        const timer = setTimeout(() => reject(new Error('tallyra-local did not start')), 15000);
        child.on('error', reject);
        child.on('exit', (code) => reject(new Error(`tallyra-local exited with ${code}`)));
        child.stdout.on('data', (chunk) => {
            output += chunk;
            const match = /listening on http:\/\/127\.0\.0\.1:(\d+)/.exec(output);
            if (match) {
                clearTimeout(timer);
                resolve({ child, port: Number(match[1]) });
            }
        });
    });
}

function waitFor(condition, what, timeoutMs = 5000) {
    return new Promise((resolve, reject) => {
        const started = Date.now();
        const poll = () => {
            let done = false;
            try {
                done = condition();
            } catch (e) {
                done = false;
            }
            if (done) {
                resolve();
            } else if (Date.now() - started > timeoutMs) {
                reject(new Error(`timed out waiting for ${what}`));
            } else {
                setTimeout(poll, 10);
            }
        };
        poll();
    });
}

let checks = 0;
function expect(condition, what) {
    if (!condition) {
        throw new Error(`failed: ${what}`);
    }
    checks += 1;
    console.log(`ok ${checks} - ${what}`);
}

function openDatabase(port, name, mockUserToken) {
    const app = initializeApp(
        { projectId: NAMESPACE, databaseURL: `http://127.0.0.1:${port}?ns=${NAMESPACE}` },
        name
    );
    const db = database.getDatabase(app);
    database.connectDatabaseEmulator(db, '127.0.0.1', port, { mockUserToken });
    return { app, db };
}

async function run(port) {
    // "owner" is the emulator's administrator credential; the user gets an unsigned token with
    // the account's claims, as the SDK's emulator mode makes them.
    const admin = openDatabase(port, 'admin', 'owner');
    const user = openDatabase(port, 'user', { sub: 'sdk-user', service_id: 7, account_id: 9 });
    const chats = ref(user.db, `${ACCOUNT}/chats`);

    const seen = [];
    const stopListening = onValue(chats, (snapshot) => seen.push(snapshot.val()));
    await waitFor(() => seen.length > 0, 'the first snapshot');
    expect(seen[0] === null, 'a listen on an empty path gets null first');
    const latest = () => seen[seen.length - 1] || {};

    const before = Date.now();
    await set(ref(user.db, `${ACCOUNT}/chats/c1`), {
        status: 'open',
        created: database.serverTimestamp(),
    });
    const stored = (await get(ref(admin.db, `${ACCOUNT}/chats/c1/created`))).val();
    expect(typeof stored === 'number' && stored >= before - 1000 && stored <= Date.now() + 1000,
           'set: the server timestamp is resolved to the server time');
    await waitFor(() => latest().c1 && latest().c1.created === stored, 'the listener to see the set');
    expect(true, 'listen: the listener sees the resolved timestamp');

    await update(chats, {
        'c1/status': 'closed',
        'c1/count': database.increment(2),
        'c2/status': 'new',
    });
    await waitFor(() => latest().c2 && latest().c1.status === 'closed' && latest().c1.count === 2,
                  'the listener to see the update');
    expect(latest().c1.created === stored, 'update: multi-path keys keep their siblings');

    const added = [];
    onChildAdded(ref(user.db, `${ACCOUNT}/messages`), (snapshot) => added.push(snapshot.key));
    const keys = [];
    for (let i = 0; i < 3; i += 1) {
        keys.push((await push(ref(user.db, `${ACCOUNT}/messages`), { text: `message ${i}` })).key);
    }
    await waitFor(() => added.length === 3, 'three children added');
    expect(keys.every((key, i) => i === 0 || keys[i - 1] < key), 'push: names are in creation order');
    expect(JSON.stringify(added) === JSON.stringify(keys), 'push: children arrive in order');

    await remove(ref(user.db, `${ACCOUNT}/chats/c2`));
    await waitFor(() => !('c2' in latest()), 'the listener to see the removal');
    expect(true, 'remove: the child disappears for the listener');

    await set(ref(admin.db, `${ACCOUNT}/chats/c3`), { status: 'from another connection' });
    await waitFor(() => latest().c3 && latest().c3.status === 'from another connection',
                  'a write by another connection');
    expect(true, 'listen: writes of other connections are pushed');

    await set(ref(admin.db, `${ACCOUNT}/counter`), 5);
    const transaction = await database.runTransaction(ref(user.db, `${ACCOUNT}/counter`),
                                                      (value) => (value || 0) + 1);
    expect(transaction.committed && transaction.snapshot.val() === 6,
           'transaction: the conditional write agrees on the hash');

    // The SDK cuts its own large messages at any UTF-16 unit, so it sends text without
    // surrogate pairs; the service's own splitting keeps pairs whole, which the second
    // value (written over REST, read by the SDK) shows.
    const big = 'x\u0436'.repeat(300000);
    await set(ref(user.db, `${ACCOUNT}/big`), big);
    expect((await get(ref(admin.db, `${ACCOUNT}/big`))).val() === big,
           'large values travel in frames from the SDK');
    const emoji = 'x\u{1F600}'.repeat(200000);
    const response = await fetch(`http://127.0.0.1:${port}/${ACCOUNT}/emoji.json?auth=owner`, {
        method: 'PUT',
        body: JSON.stringify(emoji),
    });
    expect(response.status === 200, 'REST: a large value is stored');
    expect((await get(ref(user.db, `${ACCOUNT}/emoji`))).val() === emoji,
           'large values travel in frames to the SDK without cutting a character');

    let denied = null;
    try {
        await set(ref(user.db, 'services/7/accounts/10/chats/x'), 1);
    } catch (error) {
        denied = error;
    }
    expect(denied && /permission/i.test(`${denied.code} ${denied.message}`),
           'access: another account is refused');

    await database.onDisconnect(ref(user.db, `${ACCOUNT}/presence`)).set('offline');
    await set(ref(user.db, `${ACCOUNT}/presence`), 'online');
    stopListening();
    const presence = [];
    onValue(ref(admin.db, `${ACCOUNT}/presence`), (snapshot) => presence.push(snapshot.val()));
    await waitFor(() => presence[presence.length - 1] === 'online', 'presence online');
    database.goOffline(user.db);
    await waitFor(() => presence[presence.length - 1] === 'offline', 'the on-disconnect write');
    expect(true, 'onDisconnect: the write runs when the connection goes');

    await deleteApp(user.app);
    await deleteApp(admin.app);
}

async function main() {
    const binary = process.argv[2];
    if (!binary) {
        console.error('usage: node check.js PATH/TO/tallyra-local');
        process.exit(2);
    }
    const dataDirectory = fs.mkdtempSync(path.join(os.tmpdir(), 'tallyra-sdk-check-'));
    const { child, port } = await startService(binary, dataDirectory);
    let failed = false;
    try {
        await run(port);
        console.log(`SDK check passed (${checks} checks, firebase ${require('firebase/package.json').version})`);
    } catch (error) {
        failed = true;
        console.error(`SDK check FAILED: ${error.message}`);
    } finally {
        child.removeAllListeners('exit');
        const exited = new Promise((resolve) => child.once('exit', resolve));
        child.kill('SIGTERM'); // it saves before it goes
        await exited;
        fs.rmSync(dataDirectory, { recursive: true, force: true });
    }
    process.exit(failed ? 1 : 0);
}

setTimeout(() => {
    console.error('SDK check FAILED: timed out');
    process.exit(1);
}, 90000).unref();
main().catch((error) => {
    console.error(`SDK check FAILED: ${error.message}`);
    process.exit(1);
});
