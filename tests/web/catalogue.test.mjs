// The product catalogue's pages and the process route's line grid in the browser.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { test } from 'node:test';
import { KMD, openForm, settled, startKmd } from './harness.mjs';

const sql = (db, statement) => execFileSync(KMD, ['run', '--db', db, '-'], { input: `sql ${statement}\n` }).toString();

test('the catalogue shows one page at a time; a route is entered in its line grid', async (t) => {
  const { page, db, pageErrors } = await startKmd(t);
  const cpml = await openForm(page, 'CPML');
  await page.evaluate(() => window.kmd.active.send({ kind: 'pick', control: 'TV', key: 'wC001' }));
  await settled(page);
  const price = cpml.locator('[data-control="qnT(14)"]');
  const code = cpml.locator('[data-control="qnT(0)"]');
  assert.equal(await code.inputValue(), 'C001');
  assert.ok(!(await price.isVisible()), 'the other page is hidden');
  await cpml.locator('.form-bar-button', { hasText: '其他属性' }).click();
  await settled(page);
  assert.equal(await price.inputValue(), '800');
  assert.ok(await price.isVisible() && !(await code.isVisible()));
  assert.equal(await cpml.locator('.form-bar-button.pressed').textContent(), '其他属性');

  const srlx = await openForm(page, 'SRLX');
  await page.keyboard.press('F2');
  await settled(page);
  await srlx.locator('[data-control="qnT(0)"]').fill('浏览器路线');
  const cell = (r, c) => srlx.locator(`table.line-grid input[data-row="${r}"][data-col="${c}"]`);
  await cell(1, 2).fill('GX01');
  await cell(1, 6).click();
  await settled(page);
  assert.equal(await cell(1, 2).inputValue(), '粗车外圆');
  assert.equal(await cell(1, 1).inputValue(), '0010');
  await cell(1, 6).fill('1.5');
  await srlx.locator('[data-control="qnT(0)"]').click();
  await settled(page);
  await page.keyboard.press('F4');
  await settled(page);
  assert.match(sql(db, "select 顺序号, 工艺ID, 加工工时 from kmdsrlxmx where srlxid in (select ID from kmdsrlx where 路线名称='浏览器路线')"),
    /0010 \| 1 \| 1\.5/);
  assert.deepEqual(pageErrors, []);
});
