// The page: the start page with the forms by subsystem, form windows as tabs, the journal panel
// and notices. Each browser tab remembers its own open windows, so that a reload opens them again
// (each window's form then restores its last selection itself).
import { request, send, setupRetry } from './api.js';
import { el, isOpen } from './dialogs.js';
import { askDiscard, FormWindow } from './window.js';

// The pinyin initials of a title ("计量单位" -> "jldw"): each character falls between the first
// characters of two initials in the browser's pinyin collation.
const LETTERS = 'abcdefghjklmnopqrstwxyz';
const BOUNDS = '阿八嚓哒妸发旮哈讥咔垃妈拏噢妑七呥仨他屲夕丫帀';
const pinyin = new Intl.Collator('zh-CN-u-co-pinyin');
export function initials(title) {
  return [...title].map((ch) => {
    if (!/[\u4e00-\u9fff]/.test(ch)) return ch.toLowerCase();
    let at = -1;
    for (let i = 0; i < BOUNDS.length; i++) if (pinyin.compare(ch, BOUNDS[i]) >= 0) at = i;
    return at < 0 ? '' : LETTERS[at];
  }).join('');
}

const TABS_KEY = 'kmd.tabs';
const RECENT_KEY = 'kmd.recent';

const app = {
  forms: [],
  windows: [],
  active: null, // a FormWindow, or null for the start page

  notice(text, title) {
    const n = el('div', { class: 'notice', role: 'status' }, title ? el('b', { text: `${title.replace(/[:：]$/, '')}：` }) : null, el('span', { text }));
    document.getElementById('notices').append(n);
    setTimeout(() => n.classList.add('fade'), 4000);
    setTimeout(() => n.remove(), 4600);
  },

  journal: {
    count: 0,
    add(line) {
      const time = line.time || new Date().toLocaleString('zh-CN', { hour12: false });
      const li = el('li', { class: `level-${line.level}` },
        el('span', { class: 'j-time', text: time }),
        el('span', { class: 'j-form', text: line.title || line.form }),
        el('span', { class: 'j-text', text: line.text }));
      const list = document.getElementById('journal-lines');
      list.append(li);
      li.scrollIntoView?.({ block: 'nearest' });
      this.count++;
      document.getElementById('journal-count').textContent = `(${this.count})`;
    },
  },

  // A form that is open already is not opened twice: its tab comes to the front.
  async open(cls, { activate = true } = {}) {
    const open = this.windows.find((w) => w.cls === cls);
    if (open) {
      if (activate) this.activate(open);
      return open;
    }
    const r = await request('POST', '/api/windows', { class: cls, rows: [0, 100] });
    if (r.status !== 200) { this.notice(r.body.error || '无法打开窗体'); return null; }
    const win = new FormWindow(this, r.body);
    this.windows.push(win);
    document.getElementById('pages').append(win.page);
    const tab = el('button', { class: 'tab', role: 'tab', 'data-window': win.id }, el('span', { text: win.title }));
    const close = el('span', { class: 'tab-close', title: '关闭', text: '×' });
    close.addEventListener('click', async (e) => {
      e.stopPropagation();
      if (win.view?.dirty && !await askDiscard()) return;
      this.closeWindow(win);
    });
    tab.append(close);
    tab.addEventListener('click', () => this.activate(win));
    win.tab = tab;
    document.getElementById('tabs').append(tab);
    if (activate) this.activate(win);
    await win.handle(r);
    this.remember(cls);
    this.saveTabs();
    return win;
  },

  activate(win) {
    this.active = win;
    document.querySelectorAll('.page').forEach((p) => p.classList.remove('active'));
    document.querySelectorAll('.tab').forEach((t) => t.classList.remove('active'));
    (win ? win.page : document.getElementById('home')).classList.add('active');
    (win ? win.tab : document.getElementById('tab-home')).classList.add('active');
    if (win) {
      win.treePane?.draw();
      if (!win.serverFocus || !win.detail.focus(win.serverFocus)) win.focusTree();
    } else {
      document.getElementById('filter').focus();
    }
    this.saveTabs();
  },

  async closeWindow(win) {
    await win.close();
    this.dropWindow(win);
  },

  dropWindow(win) {
    const at = this.windows.indexOf(win);
    if (at < 0) return;
    this.windows.splice(at, 1);
    win.page.remove();
    win.tab.remove();
    if (this.active === win) this.activate(this.windows[Math.min(at, this.windows.length - 1)] || null);
    this.saveTabs();
  },

  saveTabs() {
    const tabs = this.windows.map((w) => w.cls);
    sessionStorage.setItem(TABS_KEY, JSON.stringify({ tabs, active: this.windows.indexOf(this.active) }));
  },

  remember(cls) {
    const recent = JSON.parse(localStorage.getItem(RECENT_KEY) || '[]').filter((c) => c !== cls);
    recent.unshift(cls);
    localStorage.setItem(RECENT_KEY, JSON.stringify(recent.slice(0, 6)));
    this.drawHome();
  },

  // The start page: recently opened forms first, then the forms by subsystem; the filter finds
  // a form by its title, the pinyin initials of its title or its class name.
  drawHome() {
    const q = document.getElementById('filter').value.trim().toLowerCase();
    const match = (f) => !q || f.title.toLowerCase().includes(q) || f.class.toLowerCase().includes(q) ||
      initials(f.title).includes(q) || f.subsystem.includes(q);
    const groups = new Map();
    const recent = JSON.parse(localStorage.getItem(RECENT_KEY) || '[]');
    const recentForms = recent.map((c) => this.forms.find((f) => f.class === c)).filter(Boolean);
    if (recentForms.length && !q) groups.set('最近使用', recentForms);
    for (const f of this.forms.filter(match)) {
      if (!groups.has(f.subsystem)) groups.set(f.subsystem, []);
      groups.get(f.subsystem).push(f);
    }
    const out = [];
    for (const [name, forms] of groups) {
      const tiles = forms.map((f) => {
        const tile = el('button', { class: 'tile', 'data-class': f.class },
          el('span', { class: 'tile-title', text: f.title }), el('span', { class: 'tile-class', text: f.class }));
        tile.addEventListener('click', () => this.open(f.class));
        return tile;
      });
      out.push(el('section', { class: 'group' }, el('h2', { text: name }), el('div', { class: 'tiles' }, ...tiles)));
    }
    if (!out.length) out.push(el('p', { class: 'empty', text: '没有符合的窗体。' }));
    document.getElementById('groups').replaceChildren(...out);
  },
};

// Alt+0 the start page, Alt+1 to Alt+9 a window, Alt+PageUp/PageDown the previous and next
// (the start page counts as the first); gives true when the key was taken.
function switchWindow(e) {
  if (!e.altKey || e.ctrlKey || e.metaKey) return false;
  const pages = [null, ...app.windows];
  const at = pages.indexOf(app.active);
  let to;
  if (/^Digit[0-9]$/.test(e.code)) to = +e.code.slice(5);
  else if (e.key === 'PageDown') to = (at + 1) % pages.length;
  else if (e.key === 'PageUp') to = (at - 1 + pages.length) % pages.length;
  else return false;
  if (to >= pages.length) return true;
  app.activate(pages[to]);
  return true;
}

function setupKeys() {
  document.addEventListener('keydown', (e) => {
    if (isOpen()) return;
    if (switchWindow(e)) { e.preventDefault(); return; }
    if (app.active && app.active.onKey(e)) { e.preventDefault(); return; }
    if (e.key.startsWith('F') && e.key.length <= 3 && e.key !== 'F12') e.preventDefault(); // no browser reload on F5
  });
  const filter = document.getElementById('filter');
  filter.addEventListener('input', () => app.drawHome());
  filter.addEventListener('keydown', (e) => {
    if (e.key === 'Enter') document.querySelector('#groups .group:not(:first-child) .tile, #groups .tile')?.click();
  });
  document.getElementById('tab-home').addEventListener('click', () => app.activate(null));
  document.getElementById('journal-toggle').addEventListener('click', () => {
    const j = document.getElementById('journal');
    const folded = j.classList.toggle('folded');
    document.getElementById('journal-toggle').setAttribute('aria-expanded', String(!folded));
    j.querySelector('.fold').textContent = folded ? '▸' : '▾';
  });
  // Leaving the page closes its windows.
  window.addEventListener('pagehide', () => app.windows.forEach((w) => !w.closed && send(`/api/windows/${w.id}/close`)));
  let resizing = 0;
  window.addEventListener('resize', () => {
    app.active?.treePane?.onScroll();
    clearTimeout(resizing);
    resizing = setTimeout(() => app.windows.forEach((w) => w.sendSize()), 150);
  });
  // Typing not yet saved: the browser asks before a reload or close throws it away.
  window.addEventListener('beforeunload', (e) => {
    if (app.windows.some((w) => w.view?.dirty)) { e.preventDefault(); e.returnValue = ''; }
  });
  // The host closes windows no page has named for a while; these are still shown.
  setInterval(() => app.windows.forEach((w) => !w.closed && send(`/api/windows/${w.id}/ping`)), 30000);
}

async function start() {
  setupRetry();
  setupKeys();
  const [forms, info, journal] = await Promise.all([
    request('GET', '/api/forms'), request('GET', '/api/info'), request('GET', '/api/journal?limit=100')]);
  app.forms = forms.body.forms;
  document.getElementById('who').textContent = `用户：${info.body.user}`;
  for (const line of journal.body.lines || []) app.journal.add(line);
  app.drawHome();
  const saved = JSON.parse(sessionStorage.getItem(TABS_KEY) || '{"tabs":[]}');
  for (const cls of saved.tabs) await app.open(cls, { activate: false });
  app.activate(app.windows[saved.active] || null);
  document.body.dataset.ready = 'true';
}

window.kmd = app;
start();
