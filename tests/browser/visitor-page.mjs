// The visitor page in headless Chromium against tallyra-local --plain with the demo account:
// pick a site, send a message, find it in the database, then see an operator's typing and reply.
// usage: node visitor-page.mjs PATH/TO/tallyra-local [SCREENSHOT.png]
import { execFileSync, spawn } from 'node:child_process';
import { mkdtempSync, rmSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

const here = path.dirname(fileURLToPath(import.meta.url));
const { chromium } = createRequire(path.join(here, '../sdk/package.json'))('playwright-core');
const [binary, screenshot] = process.argv.slice(2);
const data = mkdtempSync(path.join(tmpdir(), 'tallyra-visitor-'));
const OLGA = '-DemoOpOlga000001';
const WAIT = { timeout: 15000 };

const service = spawn(binary, ['--plain', '--listen', '127.0.0.1:0', '--data', data, '--reset', '--visitors', '0'],
  { stdio: ['ignore', 'pipe', 'inherit'] });
const port = await new Promise((resolve, reject) => {
  let output = '';
  const timer = setTimeout(() => reject(new Error('tallyra-local did not start')), 15000);
  service.on('exit', (code) => reject(new Error(`tallyra-local exited with ${code}`)));
  service.stdout.on('data', (chunk) => {
    const match = /listening on http:\/\/127\.0\.0\.1:(\d+)/.exec((output += chunk));
    if (match) { clearTimeout(timer); resolve(Number(match[1])); }
  });
});
const base = `http://127.0.0.1:${port}`;
let browser;

async function call(method, url, body) {
  const response = await fetch(base + url, { method, body: body && JSON.stringify(body) });
  if (!response.ok) throw new Error(`${method} ${url}: ${response.status}`);
  return response.json();
}

try {
  // The operator's database token: a custom token exchanged at the identity endpoint.
  const custom = execFileSync(binary, ['--data', data, '--mint-token', '1', '--', '101', OLGA]).toString().trim();
  const { idToken } = await call('POST', '/identitytoolkit/v3/relyingparty/verifyCustomToken?key=k',
    { token: custom, returnSecureToken: true });
  const db = (p) => `/services/1/accounts/101/${p}.json?auth=${idToken}`;

  browser = await chromium.launch({ executablePath: process.env.CHROMIUM || '/usr/bin/chromium' });
  const page = await browser.newPage({ viewport: { width: 1100, height: 760 } });
  page.on('pageerror', (error) => { throw error; });
  await page.goto(`${base}/visitor/`);
  await page.click('.site[data-widget="601"]', WAIT);
  await page.fill('#text', 'Здравствуйте! Есть ли ноутбуки?');
  await page.press('#text', 'Enter');
  await page.locator('.message.mine', { hasText: 'ноутбуки' }).waitFor(WAIT);

  // The message is in the database, in the chat the page opened.
  const visitor = { chat: await page.evaluate(() => state.chat) }; // eslint-disable-line no-undef
  const chat = await call('GET', db(`chats/${visitor.chat}`));
  if (chat.lastMessage.text !== 'Здравствуйте! Есть ли ноутбуки?' || chat.unreadCount !== 1) {
    throw new Error(`unexpected chat: ${JSON.stringify(chat)}`);
  }
  console.log('ok 1 - the visitor\'s message is in the database');

  // The demo data's links lead to this service at the port it took, and are served.
  const { photo } = await call('GET', db(`users/${OLGA}`));
  if (!photo.startsWith(`${base}/`) || !(await fetch(photo)).ok) throw new Error(`unreachable photo: ${photo}`);
  console.log('ok 2 - the demo data links to this service');

  await call('PUT', db(`chats/${visitor.chat}/userText/${OLGA}`), 'Да, есть');
  await page.locator('#typing', { hasText: 'печатает: Да, есть' }).waitFor(WAIT);
  console.log('ok 3 - the operator\'s typing shows');
  await call('DELETE', db(`chats/${visitor.chat}/userText/${OLGA}`));
  await call('POST', db(`chat-messages/${visitor.chat}`),
    { sender: OLGA, sentAt: { '.sv': 'timestamp' }, status: 'sent', type: 'text', text: 'Да, есть три модели.' });
  await page.locator('.message.theirs', { hasText: 'три модели' }).waitFor(WAIT);
  await page.locator('#typing').waitFor({ state: 'hidden', ...WAIT });
  console.log('ok 4 - the operator\'s reply shows');
  if (screenshot) await page.screenshot({ path: screenshot });
} finally {
  await browser?.close();
  service.kill('SIGTERM');
  await new Promise((resolve) => (service.exitCode !== null ? resolve() : service.on('exit', resolve)));
  rmSync(data, { recursive: true, force: true });
}
