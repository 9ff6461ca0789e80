// A form window: toolbar, tree, splitter, detail area and status line, drawn from the view model
// the host sends after every request. Requests of one window go one after the other.
import { request, Queue } from './api.js';
import { el, endPicker, errorBox, isOpen, messageBox, showDialog } from './dialogs.js';
import { DetailPane } from './detail.js';
import { TreePane } from './tree.js';

export const COMMANDS = [
  { cmd: 'FileNew', caption: '新建', key: 'F2', icon: '＋' },
  { cmd: 'FileNewNext', caption: '新建下级', key: 'Ctrl+F2', icon: '⊕' },
  { cmd: 'FileEdit', caption: '修改', key: 'F8', icon: '✎' },
  { cmd: 'FileDelete', caption: '删除', key: 'F3', icon: '－' },
  { cmd: 'FileSave', caption: '保存', key: 'F4', icon: '✓' },
  { cmd: 'SaveNew', caption: '保存并新增', key: 'Shift+F4', icon: '✚' },
  { cmd: 'FileCancel', caption: '取消', key: 'Escape', shown: 'Esc', icon: '↶' },
  { cmd: 'Refresh', caption: '刷新', key: 'F5', icon: '⟳' },
  { cmd: 'Find', caption: '查找', key: 'F6', icon: '⌕' },
  { cmd: 'FindNext', caption: '查找下一个', key: 'Shift+F6', icon: '»' },
  { cmd: 'RecordPrevious', caption: '上一条', key: 'Alt+ArrowUp', shown: 'Alt+↑ / ↑', icon: '▲' },
  { cmd: 'RecordNext', caption: '下一条', key: 'Alt+ArrowDown', shown: 'Alt+↓ / ↓', icon: '▼' },
  { cmd: 'PrintPreview', caption: '打印', key: 'Ctrl+p', shown: 'Ctrl+P', icon: '▤' },
];

// Commands that throw typing away: the page asks first while the window holds unsaved typing.
const DISCARDS = ['FileCancel', 'Refresh', 'FileNew'];
const TWIPS = 15; // per CSS pixel
const TREE_WIDTH = 280; // pixels, for a tree the form gave no width

// "放弃未保存的修改？" with Yes and No, No the default; true for Yes.
export async function askDiscard() {
  const answer = await messageBox({ title: '提示', text: '放弃未保存的修改？', icon: 'question',
    buttons: [{ answer: 6 }, { answer: 7 }], default: 7, cancel: 7 });
  return answer === 6;
}

const keyName = (e) => [e.ctrlKey && 'Ctrl', e.altKey && 'Alt', e.shiftKey && 'Shift', e.key.length === 1 ? e.key.toLowerCase() : e.key]
  .filter(Boolean).join('+');

export class FormWindow {
  constructor(app, reply) {
    this.app = app;
    this.id = reply.window;
    this.cls = reply.class;
    this.title = reply.title;
    this.version = reply.version;
    this.queue = new Queue();
    this.typing = new Map(); // control -> [texts waiting to be sent]
    this.serverFocus = undefined;
    this.sent = 0; // jobs queued
    this.localFocusAt = 0; // jobs queued when the user last moved the focus
    this.view = null;
    this.closed = false;

    this.toolbar = el('div', { class: 'toolbar', role: 'toolbar' });
    this.buttons = {};
    for (const c of COMMANDS) {
      const b = el('button', { class: 'tool', 'data-command': c.cmd, title: `${c.caption} (${c.shown || c.key})` },
        el('span', { class: 'tool-icon', text: c.icon }), el('span', { text: c.caption }));
      b.addEventListener('mousedown', (e) => e.preventDefault()); // the field keeps the focus
      b.addEventListener('click', () => this.command(c.cmd));
      this.buttons[c.cmd] = b;
      this.toolbar.append(b);
    }
    this.toolButtons = {}; // the form's own tools, by key: toggle buttons after the commands
    this.treePane = null;
    this.detail = new DetailPane(this);
    this.left = el('div', { class: 'tree-pane' });
    this.splitter = el('div', { class: 'splitter', role: 'separator', 'aria-orientation': 'vertical' });
    this.body = el('div', { class: 'window-body' }, this.left, this.splitter, this.detail.node);
    this.statusText = el('span', { class: 'status-text' });
    this.stateText = el('span', { class: 'status-state' });
    // A refusal or failure of the form stays here, in red, until the next action.
    this.refusal = el('span', { class: 'status-refusal', role: 'alert' });
    this.status = el('div', { class: 'status', role: 'status' }, this.statusText, this.refusal, this.stateText);
    this.findText = ''; // the text of the last search, for "未找到"
    this.lastInput = null;
    this.page = el('section', { class: 'page window', 'data-window': this.id, 'data-class': this.cls },
      this.toolbar, this.body, this.status);
    this.setupSplitter();
  }

  // The bar is the form's own: its mouse moves go to the form's splitter (in twips from the bar's
  // left edge), and the tree takes the width the form answers.
  setupSplitter() {
    this.splitter.addEventListener('mousedown', (e) => {
      const layout = this.view?.layout;
      if (!layout || e.button !== 0) return;
      e.preventDefault();
      const split = (phase, m) => this.send({ kind: 'split', control: layout.bar, phase,
        x: Math.round((m.clientX - this.splitter.getBoundingClientRect().left) * TWIPS) }, { keep: true });
      split('down', e);
      let last = e;
      const move = (m) => { last = m; if (this.queue.length === 0) split('move', m); };
      const up = (m) => {
        document.removeEventListener('mousemove', move);
        document.removeEventListener('mouseup', up);
        split('move', last);
        split('up', m).then(() => this.treePane?.draw());
      };
      document.addEventListener('mousemove', move);
      document.addEventListener('mouseup', up);
    });
  }

  // Tells the form the window's inner size, so that it lays out its tree, bar and frame.
  sendSize() {
    const w = this.body.clientWidth, h = this.body.clientHeight;
    if (!w || !h || this.closed || !this.view?.layout) return;
    this.send({ kind: 'resize', width: w * TWIPS, height: h * TWIPS, treeWidth: TREE_WIDTH * TWIPS }, { keep: true });
  }

  layout(l) {
    this.splitter.hidden = !l;
    if (!l) return;
    this.left.hidden = !l.visible1;
    if (l.visible1 && l.treeWidth > 0) this.left.style.width = `${Math.max(40, Math.round(l.treeWidth / TWIPS))}px`;
  }

  rows() { return this.treePane ? this.treePane.wanted() : [0, 100]; }

  // ---- requests ----

  // Gives the result of the action's reply. Each action but the layout's own ends the refusal shown.
  send(action, { keep = false } = {}) {
    if (this.closed) return Promise.resolve();
    if (!keep) this.refusal.textContent = '';
    return this.push(async (seq) => this.handle(...await this.call('POST', `/api/windows/${this.id}/action`,
      { ...action, version: this.version, rows: this.rows() }, seq)));
  }

  // Queues a job with its number, so that a reply to a request queued before the user moved the
  // focus does not take the focus back.
  push(job) {
    const seq = ++this.sent;
    return this.queue.push(() => job(seq));
  }

  async call(method, url, body, seq) {
    return [await request(method, url, body), seq];
  }

  viewUrl() { return `/api/windows/${this.id}?first=${this.rows()[0]}&count=${this.rows()[1]}`; }

  async command(cmd) {
    if (!this.view || isOpen()) return;
    if (cmd === 'SaveNew') return this.saveNew();
    if (!this.view.toolbar[cmd]) return;
    if (DISCARDS.includes(cmd) && this.view.dirty && !await askDiscard()) return;
    const before = this.selectedKey();
    const result = await this.send({ kind: 'command', command: cmd });
    // A find that moved nowhere says so.
    if ((cmd === 'Find' || cmd === 'FindNext') && this.findText && this.selectedKey() === before) {
      this.statusText.textContent = `未找到「${this.findText}」`;
    }
    return result;
  }

  // Saves; when the save succeeds, the next new record starts with the caret in its first field.
  async saveNew() {
    if (!this.view.toolbar.FileSave) return;
    if (await this.send({ kind: 'command', command: 'FileSave' }) !== true) return;
    if (!this.view.toolbar.FileNew) return;
    await this.send({ kind: 'command', command: 'FileNew' });
    if (!this.view.focus || !this.detail.focus(this.view.focus)) this.detail.focusEdge(1);
  }

  selectedKey() {
    const tree = this.view?.tree ? this.view.controls.find((c) => c.name === this.view.tree) : null;
    return tree?.tree.selectedKey;
  }

  // Typing sends the whole text; texts typed while an earlier one is on its way are merged.
  type(name, text) {
    const waiting = this.typing.get(name) || [];
    waiting.push(text);
    this.typing.set(name, waiting);
    this.push(async (seq) => {
      const list = this.typing.get(name);
      const mine = list.shift();
      if (list.length > 0 || this.closed) return; // a later text follows
      await this.handle(...await this.call('POST', `/api/windows/${this.id}/action`,
        { kind: 'type', control: name, text: mine, version: this.version, rows: this.rows() }, seq));
    });
  }

  pendingTypes(name) { return (this.typing.get(name) || []).length; }

  leave(name) {
    if (isOpen() || this.closed || !this.page.classList.contains('active')) return;
    this.send({ kind: 'leave', control: name });
  }

  focusControl(name) {
    this.localFocusAt = this.sent;
    if (name === this.serverFocus) return;
    this.serverFocus = name;
    this.send({ kind: 'focus', control: name });
  }

  focusTree() { this.treePane?.node.focus(); }

  treeUsable() { return Boolean(this.treePane && this.treePane.enabled && this.treePane.node.offsetParent !== null); }

  loadRows(first, count) {
    return this.push(async (seq) => {
      if (this.closed) return;
      await this.handle(...await this.call('GET', `/api/windows/${this.id}?first=${first}&count=${count}`, undefined, seq));
    });
  }

  async close() {
    if (this.closed) return;
    await this.queue.push(async () => {
      this.closed = true;
      await request('POST', `/api/windows/${this.id}/close`, {});
    });
  }

  // ---- replies ----

  async handle(r, seq = Infinity) {
    if (r.status === 404 && /window/.test(r.body.error || '')) {
      this.closed = true;
      this.app.notice(`${this.title}：窗口已关闭，请重新打开。`);
      this.app.dropWindow(this);
      return;
    }
    if (r.status !== 200) {
      this.app.notice(r.body.error || `请求被拒绝（${r.status}）`);
      if (r.status === 409) {
        const [again] = await this.call('GET', this.viewUrl(), undefined, seq);
        if (again.status === 200 && !again.body.busy) this.render(again.body, seq);
      }
      return;
    }
    let b = r.body;
    while (b.busy) {
      this.statusText.textContent = '正在处理，请稍候…';
      this.page.classList.add('busy');
      const [again] = await this.call('GET', this.viewUrl(), undefined, seq);
      if (again.status !== 200) return this.handle(again, seq);
      b = again.body;
    }
    this.page.classList.remove('busy');
    const errors = this.events(b.events || []);
    if (errors.refused) b.refused = true;
    this.render(b, seq);
    for (const e of errors) await errorBox(e.title, e.text);
    if (b.dialog?.kind !== 'color') endPicker();
    if (b.dialog) {
      const answer = await showDialog(b.dialog);
      if (b.dialog.kind === 'input') this.findText = answer || '';
      return this.handle(...await this.call('POST', `/api/windows/${this.id}/answer`, { dialog: b.dialog.id, answer, rows: this.rows() }, seq));
    }
    // After a refusal or a box the caret goes to the field the form focused.
    if ((errors.length || b.refused) && this.view?.focus && this.isActive()) this.detail.focus(this.view.focus);
    return b.result;
  }

  // Message to the status line; ErrMessage by level: 1 and 9 to the journal, 2 and 4 a notice,
  // 8 and 9 an error box (given back, shown after drawing).
  // Message to the status line; ErrMessage by level: 1 and 9 to the journal, every refusal and
  // failure (2, 4, 8, 9) in red beside the status line, 8 and 9 also as an error box (given back,
  // shown after drawing).
  events(list) {
    const errors = [];
    for (const e of list) {
      if (e.event === 'Message') this.statusText.textContent = e.text;
      if (e.event !== 'ErrMessage') continue;
      if (e.level === 1 || e.level === 9) this.app.journal.add({ form: this.cls, title: e.title, text: e.text, level: e.level });
      if (e.level !== 1) {
        this.refusal.textContent = e.text;
        errors.refused = true;
      }
      if (e.level === 8 || e.level === 9) errors.push(e);
    }
    return errors;
  }

  render(b, seq = Infinity) {
    const view = b.view;
    if (!view) return;
    this.version = b.version;
    const hadLayout = Boolean(this.view?.layout);
    this.view = view;
    const editing = view.toolbar.FileSave;
    for (const [cmd, button] of Object.entries(this.buttons)) button.disabled = !(cmd === 'SaveNew' ? view.toolbar.FileSave : view.toolbar[cmd]);
    this.tab?.classList.toggle('dirty', Boolean(view.dirty));
    this.layout(view.layout);
    this.renderTools(view.tools || []);
    this.stateText.textContent = editing ? '编辑' : '浏览';
    if (view.status !== undefined && !this.page.classList.contains('busy')) this.statusText.textContent = view.status;

    const treeControl = view.tree ? view.controls.find((c) => c.name === view.tree) : null;
    if (treeControl && !this.treePane) {
      this.treePane = new TreePane(this, treeControl.name);
      this.left.append(this.treePane.node);
    }
    this.page.classList.toggle('no-tree', !treeControl);
    if (treeControl) this.treePane.update(treeControl);
    this.detail.update(view);

    // Focus follows the form: a focus the form moved is given to that field.
    if (view.focus !== this.serverFocus && seq > this.localFocusAt) {
      this.serverFocus = view.focus;
      if (view.focus && this.isActive() && !isOpen() && !this.detail.focus(view.focus) && view.focus === view.tree) this.focusTree();
    }
    const active = document.activeElement;
    if (this.isActive() && !isOpen() && (!active || active === document.body || active.disabled)) this.focusTree();
    if (!hadLayout && view.layout) setTimeout(() => this.sendSize());
  }

  // A tool of the form's own is a toggle button: pressed while it is on.
  renderTools(tools) {
    for (const t of tools) {
      let b = this.toolButtons[t.key];
      if (!b) {
        b = el('button', { class: 'tool toggle', 'data-tool': t.key, title: t.caption, 'aria-pressed': 'false' },
          el('span', { class: 'tool-icon', text: '№' }), el('span', { text: t.caption }));
        b.addEventListener('mousedown', (e) => e.preventDefault()); // the field keeps the focus
        b.addEventListener('click', () => { if (!isOpen()) this.send({ kind: 'tool', key: t.key }); });
        this.toolButtons[t.key] = b;
        this.toolbar.append(b);
      }
      b.setAttribute('aria-pressed', String(Boolean(t.on)));
    }
  }

  isActive() { return this.page.classList.contains('active'); }

  // Keys of the active window; gives true when the key was taken.
  onKey(e) {
    const name = keyName(e);
    const inField = e.target.matches?.('input, select, textarea');
    const inTree = e.target.closest?.('.tree');
    let cmd = COMMANDS.find((c) => c.key === name)?.cmd;
    if (!cmd && !inField && !inTree && (name === 'ArrowUp' || name === 'ArrowDown')) cmd = name === 'ArrowUp' ? 'RecordPrevious' : 'RecordNext';
    if (!cmd) return false;
    if (cmd === 'FileCancel' && !this.view?.toolbar.FileCancel) return false;
    this.command(cmd);
    return true;
  }
}
