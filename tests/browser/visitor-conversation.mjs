// The visitor's side of a conversation with the console: the visitor page in headless Chromium
// writes to a site, says "SENT <chat>" on stdout, and waits for the operator's answer.
// usage: node visitor-conversation.mjs BASE_URL SERVER_CERT.pem QUESTION ANSWER
// Chromium trusts exactly the service's own key (its SPKI pin), nothing else.
import { createHash, X509Certificate } from 'node:crypto';
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import path from 'node:path';
import { fileURLToPath } from 'node:url';

const here = path.dirname(fileURLToPath(import.meta.url));
const { chromium } = createRequire(path.join(here, '../sdk/package.json'))('playwright-core');
const [base, certificate, question, answer] = process.argv.slice(2);
const WAIT = { timeout: 60000 };

const key = new X509Certificate(readFileSync(certificate)).publicKey.export({ type: 'spki', format: 'der' });
const pin = createHash('sha256').update(key).digest('base64');
const browser = await chromium.launch({
  executablePath: process.env.CHROMIUM || '/usr/bin/chromium',
  args: [`--ignore-certificate-errors-spki-list=${pin}`],
});
try {
  const page = await browser.newPage({ viewport: { width: 1100, height: 760 } });
  page.on('pageerror', (error) => { throw error; });
  await page.goto(`${base}/visitor/`);
  await page.click('.site[data-widget="601"]', WAIT);
  await page.fill('#text', question);
  await page.press('#text', 'Enter');
  await page.locator('.message.mine', { hasText: question }).waitFor(WAIT);
  console.log(`SENT ${await page.evaluate(() => state.chat)}`); // eslint-disable-line no-undef
  await page.locator('.message.theirs', { hasText: answer }).waitFor(WAIT);
  console.log('ANSWER SEEN');
} finally {
  await browser.close();
}
