// The tree of a form window, drawn virtually: the host gives the number of expanded rows and the
// rows of a range; only the rows in view are in the page.
import { el } from './dialogs.js';

export const ROW = 22;
const MARGIN = 40; // rows fetched beyond the view on either side
const CODE_MAX = 12; // a code column is at most this wide; longer codes are cut with "…"

// "KG  千克" -> ["KG", "  千克"]: a code of plain characters, then two or more spaces and the name.
const splitCode = (text) => {
  const m = /^([\x21-\x7e]+)( {2,}.*)$/.exec(text);
  return m ? [m[1], m[2]] : null;
};

export class TreePane {
  // `win` offers send(action), loadRows(first, count) and the row range it asks for.
  constructor(win, name) {
    this.win = win;
    this.name = name;
    this.model = { count: 0, first: 0, rows: [], selected: -1 };
    this.enabled = true;
    this.lastSelected = -2;
    this.seekText = '';
    this.seekTimer = 0;
    this.space = el('div', { class: 'tree-space' });
    this.node = el('div', { class: 'tree', tabindex: '0', role: 'tree', 'data-control': name }, this.space);
    this.node.addEventListener('scroll', () => this.onScroll());
    this.node.addEventListener('keydown', (e) => this.onKey(e));
    this.node.addEventListener('click', (e) => this.onClick(e));
    this.node.addEventListener('dblclick', (e) => {
      const row = this.rowOf(e.target);
      if (row && row.children) this.win.send({ kind: row.expanded ? 'collapse' : 'expand', control: this.name, key: row.key });
    });
  }

  // The range to ask for: what is in view, with a margin.
  wanted() {
    const top = Math.floor(this.node.scrollTop / ROW);
    const inView = Math.ceil((this.node.clientHeight || 600) / ROW) + 1;
    const first = Math.max(0, top - MARGIN);
    return [first, top - first + inView + MARGIN];
  }

  update(control) {
    this.model = control.tree;
    this.enabled = control.enabled;
    this.node.classList.toggle('disabled', !control.enabled);
    this.space.style.height = `${this.model.count * ROW}px`;
    if (this.model.selected !== this.lastSelected) {
      this.lastSelected = this.model.selected;
      this.reveal(this.model.selected);
    }
    this.draw();
  }

  // Scrolls a row into view.
  reveal(index) {
    if (index < 0) return;
    const top = index * ROW;
    const h = this.node.clientHeight;
    if (top < this.node.scrollTop) this.node.scrollTop = top;
    else if (top + ROW > this.node.scrollTop + h) this.node.scrollTop = top + ROW - h;
  }

  row(index) {
    const i = index - this.model.first;
    return i >= 0 && i < this.model.rows.length ? this.model.rows[i] : null;
  }

  draw() {
    const top = Math.floor(this.node.scrollTop / ROW);
    const inView = Math.ceil((this.node.clientHeight || 600) / ROW) + 1;
    const rows = [];
    // Codes of one level are padded to the longest, at most CODE_MAX, so that the names after
    // them line up too; a longer code is cut and the row's tool tip tells it whole.
    const codeWidth = new Map();
    for (const r of this.model.rows) {
      const code = splitCode(r.text)?.[0];
      if (code) codeWidth.set(r.depth, Math.min(CODE_MAX, Math.max(codeWidth.get(r.depth) || 0, code.length)));
    }
    const cut = (code) => (code.length > CODE_MAX ? `${code.slice(0, CODE_MAX - 1)}…` : code);
    for (let i = top; i < Math.min(this.model.count, top + inView); i++) {
      const r = this.row(i);
      if (!r) continue;
      const toggle = el('span', { class: 'toggle', text: r.children ? (r.expanded ? '▾' : '▸') : '' });
      const icon = el('span', { class: `node-icon ${r.children ? 'folder' : 'leaf'}` });
      const parts = splitCode(r.text);
      const text = parts
        ? el('span', { class: 'node-text' }, el('span', { class: 'node-code', text: cut(parts[0]) }), parts[1])
        : el('span', { class: 'node-text', text: r.text });
      if (parts) text.firstChild.style.minWidth = `${codeWidth.get(r.depth)}ch`;
      const line = el('div', {
        class: `tree-row${i === this.model.selected ? ' selected' : ''}${r.bold ? ' bold' : ''}${r.cut ? ' cut' : ''}`,
        role: 'treeitem', 'data-key': r.key, 'data-row': i,
      }, toggle, icon, text);
      line.style.top = `${i * ROW}px`;
      line.title = r.text;
      line.style.paddingLeft = `${4 + r.depth * 18}px`;
      rows.push(line);
    }
    this.space.replaceChildren(...rows);
    // Rows as wide as their text: the tree scrolls sideways.
    this.space.style.width = '';
    const wide = Math.max(0, ...rows.map((r) => r.scrollWidth));
    if (wide > this.node.clientWidth) this.space.style.width = `${wide}px`;
  }

  onScroll() {
    this.draw();
    const [first, count] = this.wanted();
    const have = this.model.first;
    const end = have + this.model.rows.length;
    const top = Math.floor(this.node.scrollTop / ROW);
    const inView = Math.ceil(this.node.clientHeight / ROW) + 1;
    if (top < have || Math.min(this.model.count, top + inView) > end) this.win.loadRows(first, count);
  }

  rowOf(target) {
    const line = target.closest('.tree-row');
    return line ? this.row(+line.dataset.row) : null;
  }

  onClick(e) {
    const row = this.rowOf(e.target);
    if (!row || !this.enabled) return;
    if (e.target.classList.contains('toggle') && row.children) {
      this.win.send({ kind: row.expanded ? 'collapse' : 'expand', control: this.name, key: row.key });
    } else {
      this.win.send({ kind: 'pick', control: this.name, key: row.key });
    }
  }

  async pickRow(index) {
    if (index < 0 || index >= this.model.count) return;
    if (!this.row(index)) await this.win.loadRows(Math.max(0, index - MARGIN), 2 * MARGIN);
    const r = this.row(index);
    if (r) this.win.send({ kind: 'pick', control: this.name, key: r.key });
  }

  onKey(e) {
    if (e.key === 'Tab' && !e.ctrlKey && !e.altKey) {
      // From the tree Tab goes into the detail area; with no usable field the tree keeps the focus.
      e.preventDefault();
      this.win.detail.focusEdge(e.shiftKey ? -1 : 1);
      return;
    }
    if (!this.enabled || e.ctrlKey || e.altKey || e.metaKey) return;
    const sel = this.model.selected;
    const cur = this.row(sel);
    const page = Math.max(1, Math.floor(this.node.clientHeight / ROW) - 1);
    let handled = true;
    switch (e.key) {
      case 'ArrowDown': this.pickRow(sel + 1); break;
      case 'ArrowUp': this.pickRow(sel - 1); break;
      case 'PageDown': this.pickRow(Math.min(this.model.count - 1, sel + page)); break;
      case 'PageUp': this.pickRow(Math.max(0, sel - page)); break;
      case 'Home': this.pickRow(0); break;
      case 'End': this.pickRow(this.model.count - 1); break;
      case 'ArrowRight':
        if (cur && cur.children && !cur.expanded) this.win.send({ kind: 'expand', control: this.name, key: cur.key });
        else if (cur && cur.children) this.pickRow(sel + 1);
        break;
      case 'ArrowLeft':
        if (cur && cur.expanded) this.win.send({ kind: 'collapse', control: this.name, key: cur.key });
        else if (cur) {
          for (let i = sel - 1; i >= 0; i--) {
            const r = this.row(i);
            if (r && r.depth < cur.depth) { this.pickRow(i); break; }
          }
        }
        break;
      default:
        handled = e.key.length === 1 && e.key !== ' ';
        if (handled) {
          // Typing a prefix jumps to the next node that starts with it.
          clearTimeout(this.seekTimer);
          this.seekText += e.key;
          this.seekTimer = setTimeout(() => { this.seekText = ''; }, 900);
          this.win.send({ kind: 'seek', control: this.name, text: this.seekText });
        }
    }
    if (handled) e.preventDefault();
  }
}
