// The forms in a real browser: keyboard input, boxes answered in the page, the journal panel, a
// coded tree, a reload that brings the last selection back, and a lost connection.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { test } from 'node:test';
import { KMD, openForm, screenshot, selectedRow, settled, startKmd } from './harness.mjs';

const focused = (page) => page.evaluate(() => document.activeElement?.dataset.control);

test('units of measure: new by keyboard, duplicate box, find, delete with a question, journal', async (t) => {
  const { page, db, pageErrors } = await startKmd(t);
  const win = await openForm(page, 'JLDW');
  assert.equal(await win.locator('.tree-row').count(), 5);

  // New: the caret is in the code field; Enter moves on to the name.
  await page.keyboard.press('F2');
  await settled(page);
  assert.equal(await focused(page), 'qnT(0)');
  assert.ok(await win.locator('[data-command=FileNew]').isDisabled());
  await page.keyboard.type('KG');
  await page.keyboard.press('Enter');
  assert.equal(await focused(page), 'qnT(1)');
  await page.keyboard.type('公斤');
  await page.keyboard.press('F4');

  // The duplicate: a box with the form's title and text; Enter answers it and the form stays in New.
  const box = page.locator('.dialog.msgbox');
  await box.waitFor();
  assert.equal(await box.locator('.dialog-title').textContent(), '提示：');
  assert.equal(await box.locator('.text').textContent(), '代码(KG)重复,请检查!');
  assert.equal(await box.locator('.icon').getAttribute('class'), 'icon exclamation');
  await page.keyboard.press('Enter');
  await box.waitFor({ state: 'detached' });
  await settled(page);
  assert.ok(await win.locator('[data-command=FileSave]').isEnabled());

  await win.locator('[data-control="qnT(0)"]').click();
  await page.keyboard.press('Control+A');
  await page.keyboard.type('T');
  await page.keyboard.press('F4');
  await settled(page);
  assert.equal(await selectedRow(win).textContent(), 'T  公斤');
  assert.equal(await win.locator('.tree-row').count(), 6);
  assert.ok(await win.locator('[data-control="qnT(0)"]').isDisabled());

  // Find asks for the name in an input box.
  await page.keyboard.press('F6');
  const input = page.locator('.dialog.input');
  await input.waitFor();
  await page.keyboard.type('千克');
  await page.keyboard.press('Enter');
  await input.waitFor({ state: 'detached' });
  await settled(page);
  assert.equal(await selectedRow(win).textContent(), 'KG  千克');
  assert.equal(await win.locator('[data-control="qnT(1)"]').inputValue(), '千克');

  // Delete answers a question; N keeps the record, Y deletes it and journals the line.
  await win.locator('.tree-row[data-key=k4]').click();
  await settled(page);
  await page.keyboard.press('F3');
  const question = page.locator('.dialog.msgbox');
  await question.waitFor();
  assert.equal(await question.locator('.text').textContent(), '是否删除当前记录:BOX  箱');
  assert.deepEqual(await question.locator('button').allTextContents(), ['是(Y)', '否(N)']);
  await screenshot(page, 'question-box.png');
  await page.keyboard.press('n');
  await question.waitFor({ state: 'detached' });
  await settled(page);
  assert.equal(await win.locator('.tree-row[data-key=k4]').count(), 1);
  await page.keyboard.press('F3');
  await question.waitFor();
  await page.keyboard.press('y');
  await question.waitFor({ state: 'detached' });
  await settled(page);
  assert.equal(await win.locator('.tree-row[data-key=k4]').count(), 0);

  await page.click('#journal-toggle');
  const line = page.locator('#journal-lines li', { hasText: '删除计量单位BOX  箱' });
  await line.waitFor();
  assert.equal(await line.locator('.j-form').textContent(), '计量单位');
  const journal = execFileSync(KMD, ['journal', '--db', db], { encoding: 'utf8' });
  assert.match(journal, /tester {2}JLDW {2}1 {2}计量单位 {2}删除计量单位BOX {2}箱/);

  await page.click('#journal-toggle');
  await win.locator('.tree-row[data-key=k2]').click();
  await settled(page);
  await screenshot(page, 'jldw.png');
  // Codes of different lengths are padded, so that the names after them line up.
  const codeEnds = await win.locator('.tree-row .node-code').evaluateAll((ns) => ns.map((n) => Math.round(n.getBoundingClientRect().right)));
  assert.equal(codeEnds.length, 4);
  assert.equal(new Set(codeEnds).size, 1);
  assert.deepEqual(pageErrors, []);
});

test('coded hierarchy: a child under a leaf', async (t) => {
  const { page, pageErrors } = await startKmd(t);
  const win = await openForm(page, 'DQ');
  await win.locator('.tree-row[data-key=k0102]').click();
  await settled(page);
  await win.locator('[data-command=FileNewNext]').click();
  await settled(page);
  assert.equal(await focused(page), 'qnT(0)');
  await page.keyboard.type('01');
  await page.keyboard.press('Enter');
  await page.keyboard.type('杭州');
  // Tab walks the fields like Enter; with the tree locked it wraps round instead of leaving the form.
  await page.keyboard.press('Tab');
  assert.equal(await focused(page), 'qnT(0)');
  await page.keyboard.press('Shift+Tab');
  assert.equal(await focused(page), 'qnT(1)');
  await page.keyboard.press('F4');
  await settled(page);
  assert.equal(await selectedRow(win).textContent(), '010201  杭州');
  // The new row sits one level below 浙江, which now has a child.
  const parent = win.locator('.tree-row[data-key=k0102]');
  const child = win.locator('.tree-row[data-key=k010201]');
  const indent = async (row) => parseInt(await row.evaluate((e) => e.style.paddingLeft), 10);
  assert.ok(await indent(child) > await indent(parent));
  assert.equal(await parent.locator('.toggle').textContent(), '▾');
  assert.deepEqual(pageErrors, []);
});

test('a reload opens the tabs again with the last selection', async (t) => {
  const { page } = await startKmd(t);
  const win = await openForm(page, 'JLDW');
  await win.locator('.tree-row[data-key=k3]').click();
  await settled(page);
  assert.equal(await selectedRow(win).textContent(), 'M  米');
  await page.reload();
  await page.waitForSelector('body[data-ready]');
  const again = page.locator('.page.window.active[data-class=JLDW]');
  await again.locator('.tree-row.selected').waitFor();
  assert.equal(await selectedRow(again).textContent(), 'M  米');
  assert.equal(await again.locator('[data-control="qnT(0)"]').inputValue(), 'M');
  assert.equal(await page.locator('.tab').count(), 2);
});

test('a lost connection shows one line and a retry', async (t) => {
  const { page, server } = await startKmd(t);
  const win = await openForm(page, 'JLDW');
  server.kill('SIGKILL');
  await win.locator('.tree-row[data-key=k3]').click();
  await page.locator('#offline').waitFor();
  assert.match(await page.locator('#offline-text').textContent(), /连接中断/);
  assert.ok(await page.locator('#retry').isVisible());
});

test('every form of the library opens, draws and closes', async (t) => {
  const { page, pageErrors } = await startKmd(t);
  const forms = await page.evaluate(() => window.kmd.forms.map((f) => f.class));
  assert.ok(forms.length >= 10);
  for (const cls of forms) {
    await page.click('#tab-home');
    await page.click(`#groups .tile[data-class="${cls}"]`);
    const win = page.locator(`.page.window.active[data-class="${cls}"]`);
    await win.waitFor();
    // A box a form shows while it loads is answered with Esc.
    for (let i = 0; i < 100; i++) {
      if (await page.locator('.dialog').count()) await page.keyboard.press('Escape');
      else if (await page.evaluate(() => window.kmd.active.queue.length === 0)) break;
      await page.waitForTimeout(50);
    }
    assert.ok(await win.locator('.detail .field-row').count() > 0, cls);
    // At 1280x800 the toolbar is one line and the detail area needs no scroll bar; only the
    // form's first label is drawn as a heading.
    const fit = await win.evaluate((w) => {
      const tb = w.querySelector('.toolbar'), d = w.querySelector('.detail');
      return { toolbar: tb.offsetHeight, scrolls: d.scrollHeight > d.clientHeight || d.scrollWidth > d.clientWidth };
    });
    assert.ok(fit.toolbar < 40 && !fit.scrolls, `${cls} ${JSON.stringify(fit)}`);
    assert.ok(await win.locator('.field-row.heading').count() <= 1, cls);
    // The toolbar of a form in browse state offers New.
    assert.ok(await win.locator('[data-command=FileNew]').isEnabled(), cls);
    await page.click(`.tab[data-window="${await win.getAttribute('data-window')}"] .tab-close`);
    await win.waitFor({ state: 'detached' });
  }
  assert.deepEqual(await page.evaluate(() => fetch('/api/windows').then((r) => r.json())), { windows: [] });
  assert.deepEqual(pageErrors, []);
});

test('the start page finds a form by title, pinyin initials or class name; value labels sit beside their captions', async (t) => {
  const { page } = await startKmd(t);
  const found = async (q) => {
    await page.fill('#filter', q);
    return page.locator('#groups .tile').evaluateAll((ns) => ns.map((n) => n.dataset.class).sort().join(','));
  };
  assert.equal(await found('xm'), 'Item,QMSCMItem,QMSPOItem');
  assert.equal(await found('PJLX'), 'BillType');
  assert.equal(await found('jsfs'), 'SKFS');
  assert.equal(await found('类别'), 'CPLB,SRLB,ZYLB');
  assert.equal(await found('lxlx'), 'lxlx');
  assert.equal(await found('qqq'), '');
  assert.equal(await page.locator('#groups .empty').textContent(), '没有符合的窗体。');

  const win = await openForm(page, 'CPLB');
  await win.locator('.tree-row[data-key=k0101]').click();
  await settled(page);
  const row = win.locator('.field-row', { has: page.locator('[data-control="lbl(1)"]') });
  assert.equal(await row.locator('.caption').textContent(), '上级编码');
  assert.equal(await row.locator('.label-value').textContent(), '01');
  assert.equal(await win.locator('.field-row.heading').textContent(), '产品类别设置');
});

test('the tree answers the keyboard: arrows, expand and collapse, a typed prefix', async (t) => {
  const { page } = await startKmd(t);
  const win = await openForm(page, 'DQ');
  await win.locator('.tree-row[data-key=k01]').click();
  await settled(page);
  const press = async (key) => { await page.keyboard.press(key); await settled(page); };
  await press('ArrowDown');
  assert.equal(await selectedRow(win).textContent(), '0101  江苏');
  await press('ArrowLeft'); // collapses 江苏
  assert.equal(await win.locator('.tree-row[data-key=k010101]').count(), 0);
  await press('ArrowRight'); // expands it again
  await press('ArrowRight'); // and goes to its first child
  assert.equal(await selectedRow(win).textContent(), '010101  南京');
  await press('ArrowLeft'); // a leaf goes to its parent
  assert.equal(await selectedRow(win).textContent(), '0101  江苏');
  await page.keyboard.type('02');
  await settled(page);
  assert.equal(await selectedRow(win).textContent(), '02  华南');
  await press('Alt+ArrowUp'); // the previous record
  assert.notEqual(await selectedRow(win).textContent(), '02  华南');
  assert.equal(await win.locator('[data-control="qnT(1)"]').inputValue(), (await selectedRow(win).textContent()).split('  ')[1]);
});

test('a reference field opens its browse window with F7 and takes the picked row', async (t) => {
  const { page } = await startKmd(t);
  const win = await openForm(page, 'BM');
  await win.locator('.tree-row[data-key=k01]').click();
  await settled(page);
  await page.keyboard.press('F8');
  await settled(page);
  await win.locator('[data-control="qnTxt"]').focus();
  await page.keyboard.press('F7');
  const browse = page.locator('.dialog.browse');
  await browse.waitFor();
  assert.equal(await browse.locator('.dialog-title').textContent(), '仓库属性');
  assert.equal(await browse.locator('tbody tr').count(), 3);
  assert.deepEqual(await browse.locator('th').allTextContents(), ['编码', '名称']);
  // The window is drawn whole: its table lies inside the box.
  const [box, rows] = await Promise.all([browse.boundingBox(), browse.locator('.browse-rows').boundingBox()]);
  assert.ok(rows.y + rows.height <= box.y + box.height, JSON.stringify({ box, rows }));
  await page.keyboard.type('废品');
  assert.equal(await browse.locator('tbody tr').count(), 1);
  await page.keyboard.press('Enter');
  await browse.waitFor({ state: 'detached' });
  await settled(page);
  assert.equal(await win.locator('[data-control="qnTxt"]').inputValue(), '废品仓');
  // Esc leaves the field as it was.
  await page.keyboard.press('F7');
  await browse.waitFor();
  await page.keyboard.press('Escape');
  await browse.waitFor({ state: 'detached' });
  await settled(page);
  assert.equal(await win.locator('[data-control="qnTxt"]').inputValue(), '废品仓');
});
