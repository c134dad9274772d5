'use strict';
// The official JavaScript SDK of the realtime database (tests/sdk/node_modules), in its emulator
// mode, delivering the first snapshots of an account's users, chats and visitors: the side of
// bench_signin that the console is compared with.
//
// usage: node sdk-signin.js PORT SERVICE ACCOUNT USERKEY [NAMESPACE]
// Prints one JSON line: {"ms": ..., "users": ms, "chats": ms, "visitors": ms, counts, "maxRssKb"}.
// The clock starts when the app is made, just before the first request (the websocket the first
// listen opens); loading Node and the SDK's modules is left out, as the console's start is.
const path = require('node:path');
const { createRequire } = require('node:module');
const { performance } = require('node:perf_hooks');

const sdk = createRequire(path.join(__dirname, '..', 'tests', 'sdk', 'package.json'));
const { initializeApp } = sdk('firebase/app');
const { getDatabase, connectDatabaseEmulator, ref, onValue } = sdk('firebase/database');

const [port, serviceId, accountId, userKey, namespace = 'tallyra-local'] = process.argv.slice(2);
if (!port || !serviceId || !accountId || !userKey) {
    console.error('usage: node sdk-signin.js PORT SERVICE ACCOUNT USERKEY [NAMESPACE]');
    process.exit(2);
}

setTimeout(() => {
    console.error('sdk-signin: the snapshots did not arrive in 120 s');
    process.exit(1);
}, 120000).unref();

const started = performance.now();
const app = initializeApp({ projectId: namespace,
                            databaseURL: `http://127.0.0.1:${port}?ns=${namespace}` });
const db = getDatabase(app);
// The emulator mode's unsigned token carrying the account's claims, as check.js signs in.
connectDatabaseEmulator(db, '127.0.0.1', Number(port), {
    mockUserToken: { sub: userKey, service_id: Number(serviceId), account_id: Number(accountId) },
});

const result = {};
const names = ['users', 'chats', 'visitors'];
for (const name of names) {
    onValue(
        ref(db, `services/${serviceId}/accounts/${accountId}/${name}`),
        (snapshot) => {
            if (name in result)
                return;
            result[name] = performance.now() - started;
            result[`${name}Count`] = snapshot.size;
            if (names.every((each) => each in result)) {
                result.ms = Math.max(...names.map((each) => result[each]));
                result.maxRssKb = process.resourceUsage().maxRSS;
                console.log(JSON.stringify(result));
                process.exit(0);
            }
        },
        (error) => {
            console.error(`sdk-signin: ${name}: ${error.message}`);
            process.exit(1);
        }
    );
}
