// What clerks rely on in the page: nothing typed is lost without a question, refusals stay in
// sight, every value has its caption, the keys that switch windows and enter records fast, the
// form's own splitter and the colour picker.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { openForm, screenshot, selectedRow, settled, startKmd } from './harness.mjs';

const focused = (page) => page.evaluate(() => document.activeElement?.dataset.control);
const question = (page) => page.locator('.dialog.msgbox', { hasText: '放弃未保存的修改？' });

test('typing is kept until the user gives it up; Shift+F4 enters records one after the other', async (t) => {
  const { page, pageErrors } = await startKmd(t);
  const win = await openForm(page, 'JLDW');
  const tab = page.locator('.tab.active');
  await page.keyboard.press('F2');
  await settled(page);
  await page.keyboard.type('KG2');
  await settled(page);
  assert.match(await tab.evaluate((e) => getComputedStyle(e.firstChild, '::after').content), /•/);
  assert.ok(await win.locator('[data-command=FileNew]').isDisabled());
  // Esc asks; No (the default, Enter) keeps the typing, Y gives it up.
  await page.keyboard.press('Escape');
  await question(page).waitFor();
  await page.keyboard.press('Enter');
  await settled(page);
  assert.equal(await win.locator('[data-control="qnT(0)"]').inputValue(), 'KG2');
  // Closing the tab and reloading the page ask as well.
  await tab.locator('.tab-close').click();
  await question(page).waitFor();
  await page.keyboard.press('n');
  assert.equal(await page.locator('.tab').count(), 2);
  let asked = 0;
  page.once('dialog', (d) => { asked++; d.dismiss(); });
  await page.reload().catch(() => {});
  assert.equal(asked, 1);
  assert.equal(await win.locator('[data-control="qnT(0)"]').inputValue(), 'KG2');
  await win.locator('[data-control="qnT(0)"]').focus();
  await page.keyboard.press('Escape');
  await question(page).waitFor();
  await page.keyboard.press('y');
  await settled(page);
  assert.ok(await win.locator('[data-control="qnT(0)"]').isDisabled());

  // Shift+F4 twice: two units saved, the caret back in the code of the next new one.
  await page.keyboard.press('F2');
  await settled(page);
  for (const [code, name] of [['T1', '一号'], ['T2', '二号']]) {
    await page.keyboard.type(code);
    await page.keyboard.press('Enter');
    await page.keyboard.type(name);
    await page.keyboard.press('Shift+F4');
    await settled(page);
    assert.equal(await focused(page), 'qnT(0)');
  }
  assert.equal(await win.locator('.tree-row', { hasText: /^T[12] / }).count(), 2);
  await page.keyboard.press('Escape');
  await settled(page);

  // A find without a hit says so.
  await page.keyboard.press('F6');
  await page.locator('.dialog.input').waitFor();
  await page.keyboard.type('没有这个');
  await page.keyboard.press('Enter');
  await settled(page);
  assert.equal(await win.locator('.status-text').textContent(), '未找到「没有这个」');
  // 打印 is offered by no form of the kind.
  assert.ok(await win.locator('[data-command=PrintPreview]').isDisabled());

  // One tab per form; Alt+0, Alt+1 and Alt+PageDown switch.
  await openForm(page, 'DQ');
  await openForm(page, 'JLDW');
  assert.equal(await page.locator('.tab').count(), 3);
  assert.equal(await page.locator('.page.window.active').getAttribute('data-class'), 'JLDW');
  await page.keyboard.press('Alt+0');
  assert.ok(await page.locator('#home.active').count());
  await page.keyboard.press('Alt+1');
  assert.equal(await page.locator('.page.window.active').getAttribute('data-class'), 'JLDW');
  await page.keyboard.press('Alt+PageDown');
  assert.equal(await page.locator('.page.window.active').getAttribute('data-class'), 'DQ');
  // The start page groups the forms by subsystem.
  const groups = await page.evaluate(() => window.kmd.forms.map((f) => f.subsystem));
  for (const g of ['基础字典', '分级编码', '颜色色号']) assert.ok(groups.includes(g), groups.join(','));
  assert.deepEqual(pageErrors, []);
});

test('coded forms: captions for every value, refusals in sight, a long code, the splitter', async (t) => {
  const { page, pageErrors } = await startKmd(t);
  // Every value row of each coded form has its caption, and 上级编码 stands beside its value.
  for (const cls of ['DQ', 'lxlx', 'SRLB', 'CPLB', 'BM']) {
    const win = await openForm(page, cls);
    await win.locator('.tree-row[data-depth], .tree-row').nth(1).click();
    await settled(page);
    // Check boxes carry their own captions.
    const rows = await win.locator('.field-row:not([hidden]):not(.heading):not(.note):not(.kind-check)').evaluateAll((rs) =>
      rs.map((r) => [r.querySelector('.caption')?.textContent || '', r.querySelector('.cell')?.textContent || '']));
    for (const [caption, value] of rows) {
      if (value.trim()) assert.ok(caption.trim(), `${cls}: a value without a caption: ${value}`);
      assert.ok(!/^\*+$/.test(caption), `${cls}: ${caption}`);
    }
    const captions = rows.map(([c]) => c);
    assert.ok(captions.includes('上级编码') && captions.includes('编码规则'), `${cls}: ${captions}`);
    if (cls === 'DQ') await screenshot(page, 'dq.png');
    if (cls === 'BM') await screenshot(page, 'bm.png');
  }
  const win = await openForm(page, 'DQ');
  // New child: unavailable while editing; the parent code stands before the segment box.
  await win.locator('.tree-row[data-key=k0101]').click();
  await settled(page);
  await win.locator('[data-command=FileNewNext]').click();
  await settled(page);
  assert.ok(await win.locator('[data-command=FileNewNext]').isDisabled());
  assert.equal((await win.locator('.label-prefix').textContent()).trim(), '0101');
  // A code of the wrong length: the refusal stays in red, the caret in the code.
  await page.keyboard.type('1');
  await page.keyboard.press('F4');
  await settled(page);
  assert.equal(await win.locator('.status-refusal').textContent(), '编码长度不对,请检查!');
  assert.equal(await focused(page), 'qnT(0)');
  await page.waitForTimeout(4500);
  assert.ok(await win.locator('.status-refusal').isVisible());
  await page.keyboard.press('Escape');
  await question(page).waitFor();
  await page.keyboard.press('y');
  await settled(page);
  assert.equal(await win.locator('.status-refusal').textContent(), '');

  // Codes are cut at 12 characters, so that the names of a level stay in view; the row's tip
  // tells the whole text.
  const cut = await page.evaluate(() => {
    const w = window.kmd.active;
    const row = w.treePane.model.rows.find((r) => r.key === 'k01');
    row.text = `${'X'.repeat(30)}  华东`;
    w.treePane.draw();
    const line = document.querySelector('.page.window.active .tree-row[data-key=k01]');
    const tree = line.closest('.tree').getBoundingClientRect();
    const name = line.querySelector('.node-text').lastChild;
    const range = document.createRange();
    range.selectNodeContents(name);
    return { code: line.querySelector('.node-code').textContent, tip: line.title, right: range.getBoundingClientRect().right, edge: tree.right };
  });
  assert.equal(cut.code, `${'X'.repeat(11)}…`);
  assert.equal(cut.tip, `${'X'.repeat(30)}  华东`);
  assert.ok(cut.right <= cut.edge, JSON.stringify(cut));

  // The bar is the form's own: a drag moves it by the form's answer, a drop past its least left
  // hides the tree, a drag back shows it.
  const bar = win.locator('.splitter');
  const before = (await win.locator('.tree-pane').boundingBox()).width;
  let box = await bar.boundingBox();
  await page.mouse.move(box.x + 2, box.y + 100);
  await page.mouse.down();
  await page.mouse.move(box.x + 80, box.y + 100, { steps: 4 });
  await page.mouse.up();
  await settled(page);
  const wider = (await win.locator('.tree-pane').boundingBox()).width;
  assert.ok(wider > before + 40, `${before} -> ${wider}`);
  box = await bar.boundingBox();
  await page.mouse.move(box.x + 2, box.y + 100);
  await page.mouse.down();
  await page.mouse.move(5, box.y + 100, { steps: 4 });
  await page.mouse.up();
  await settled(page);
  assert.ok(await win.locator('.tree-pane').isHidden());
  assert.deepEqual(pageErrors, []);
});

test('Enter walks the organisation check boxes; the colour picker sets a colour number', async (t) => {
  const { page, pageErrors } = await startKmd(t);
  const bm = await openForm(page, 'BM');
  await bm.locator('.tree-row[data-key=k01]').click();
  await settled(page);
  await page.keyboard.press('F8');
  await settled(page);
  await bm.locator('[data-control="Chk(6)"]').focus();
  await page.keyboard.press('Enter');
  assert.equal(await focused(page), 'Chk(7)');
  await page.keyboard.press('Enter');
  assert.equal(await focused(page), 'Chk(0)');
  await page.keyboard.press('Escape');
  await settled(page);

  const sh = await openForm(page, 'SH');
  await sh.locator('.tree-row').nth(1).click();
  await settled(page);
  await page.keyboard.press('F8');
  await settled(page);
  await sh.locator('[data-control="Picture1"]').click();
  const picker = page.locator('.dialog.color');
  await picker.waitFor();
  // A typed hex moves the six boxes.
  await picker.locator('[data-control=txtHex]').fill('FF0000');
  await page.waitForFunction(() => document.querySelector('[data-control=txtRed]').value === '255');
  assert.equal(await picker.locator('[data-control=txtGreen]').inputValue(), '0');
  assert.equal(await picker.locator('[data-control=txtHue]').inputValue(), '0');
  // A click in the map changes hue and saturation.
  const map = await picker.locator('canvas.picker-map').boundingBox();
  await page.mouse.click(map.x + map.width / 2, map.y + map.height / 2);
  await page.waitForFunction(() => document.querySelector('[data-control=txtHue]').value !== '0');
  const hue = +await picker.locator('[data-control=txtHue]').inputValue();
  const sat = +await picker.locator('[data-control=txtSat]').inputValue();
  assert.ok(hue > 150 && hue < 210 && sat > 40 && sat < 60, `${hue} ${sat}`);
  const hex = await picker.locator('[data-control=txtHex]').inputValue();
  await screenshot(page, 'colour-picker.png');
  await picker.locator('[data-control=cmdOK]').click();
  await picker.waitFor({ state: 'detached' });
  await settled(page);
  await page.keyboard.press('F4');
  await settled(page);
  const shown = await sh.locator('[data-control="Picture1"]').evaluate((e) => getComputedStyle(e).backgroundColor);
  const [r, g, b] = shown.match(/\d+/g).map(Number);
  assert.equal([r, g, b].map((v) => v.toString(16).padStart(2, '0')).join('').toUpperCase(), hex);
  assert.deepEqual(pageErrors, []);
});
