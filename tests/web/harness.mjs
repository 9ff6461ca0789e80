// Starts `kmd serve` on a fresh database and a free port, and a headless Chromium page on it.
import { execFileSync, spawn } from 'node:child_process';
import { once } from 'node:events';
import { mkdirSync, mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join, resolve } from 'node:path';
import { fileURLToPath } from 'node:url';
import { chromium } from 'playwright-core';

const here = dirname(fileURLToPath(import.meta.url));
export const KMD = process.env.KMD_BIN || resolve(here, '../../build/apps/kmd');
const CHROMIUM = process.env.CHROMIUM || '/usr/bin/chromium';
export const SHOTS = process.env.KMD_SHOTS || resolve(here, 'screenshots');

// Chromium runs in its sandbox, except as root, where it cannot, or where the machine does not give
// it one (no user namespaces, as in some containers), which is said once.
let sandbox = process.getuid?.() !== 0;
async function launch() {
  if (sandbox) {
    try {
      return await chromium.launch({ executablePath: CHROMIUM, chromiumSandbox: true });
    } catch (e) {
      if (!/sandbox/i.test(e.message)) throw e;
      console.warn('Chromium cannot use its sandbox on this machine; the tests run it without');
      sandbox = false;
    }
  }
  return chromium.launch({ executablePath: CHROMIUM, chromiumSandbox: false });
}

export async function startKmd(t) {
  const dir = mkdtempSync(join(tmpdir(), 'kmd-web-'));
  const db = join(dir, 'test.db');
  execFileSync(KMD, ['init', '--db', db]);
  const server = spawn(KMD, ['serve', '--db', db, '--port', '0', '--home', join(dir, 'home'), '--user', 'tester'],
    { stdio: ['ignore', 'pipe', 'inherit'] });
  const url = await new Promise((ok, fail) => {
    let out = '';
    server.stdout.on('data', (d) => {
      out += d;
      const m = /open (http:\/\/\S+)/.exec(out);
      if (m) ok(m[1]);
    });
    server.on('exit', (code) => fail(new Error(`kmd serve ended with ${code}: ${out}`)));
    setTimeout(() => fail(new Error(`kmd serve did not start: ${out}`)), 15000);
  });
  const browser = await launch();
  const context = await browser.newContext({ viewport: { width: 1280, height: 800 }, locale: 'zh-CN' });
  const page = await context.newPage();
  const pageErrors = [];
  page.on('pageerror', (e) => pageErrors.push(e.message));
  page.on('console', (m) => m.type() === 'error' && /Content Security Policy/.test(m.text()) && pageErrors.push(m.text()));
  t.after(async () => {
    await browser.close();
    server.kill('SIGTERM');
    if (server.exitCode === null && server.signalCode === null) await once(server, 'exit');
    rmSync(dir, { recursive: true, force: true });
  });
  await page.goto(url);
  await page.waitForSelector('body[data-ready]');
  return { page, url, db, dir, pageErrors, server };
}

// Waits until the active window has no request under way.
export async function settled(page) {
  await page.waitForFunction(() => window.kmd.active && window.kmd.active.queue.length === 0);
}

export async function openForm(page, cls) {
  await page.click('#tab-home');
  await page.fill('#filter', cls.toLowerCase());
  await page.press('#filter', 'Enter');
  await page.waitForSelector(`.page.window.active[data-class="${cls}"] .tree-row`);
  await settled(page);
  return page.locator(`.page.window.active[data-class="${cls}"]`);
}

export function selectedRow(win) {
  return win.locator('.tree-row.selected .node-text');
}

export async function screenshot(page, name) {
  mkdirSync(SHOTS, { recursive: true });
  await page.screenshot({ path: join(SHOTS, name) });
}
