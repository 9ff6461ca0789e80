// The detail area of a form window: every control in declaration order, drawn by its kind, with
// captions in a right-aligned column. Built once per window; later view models only update it.
import { el } from './dialogs.js';

const isCaption = (c) => c && c.kind === 'label' && /[:：]\s*$/.test(c.caption);
const takesCaption = (c) => c && ['text', 'textbox', 'combo', 'date', 'label', 'picture', 'other'].includes(c.kind) && !isCaption(c);
// A field without a caption of its own takes the label before it as its caption.
const wantsCaption = (c) => c && (['textbox', 'combo', 'date'].includes(c.kind) || (c.kind === 'text' && !c.caption));
// "编码(&Q)" shows as "编码": the access key marks of the captions.
export const plain = (caption) => (caption || '').replace(/\(&(.)\)/g, '').replace(/&(.)/g, '$1');
const baseName = (name) => name.replace(/\(\d+\)$/, '');
// A short Chinese label (no number, no code mask) reads as the caption of a value label after it.
const looksCaption = (c) => c && c.kind === 'label' && /^[\u4e00-\u9fff][^\d*]{0,7}$/.test(plain(c.caption).trim());
const bareLabel = (c) => c && c.kind === 'label' && !isCaption(c);
// A caption of stars ("****") names nothing.
const isMask = (t) => /^[*\s]*$/.test(plain(t));
const captionText = (t) => plain(t).replace(/\s*[:：]\s*$/, '');

export class DetailPane {
  // `win` offers type(name, text), leave(name), focusControl(name), send(action), pendingTypes(name).
  constructor(win) {
    this.win = win;
    this.node = el('div', { class: 'detail', role: 'form' });
    this.updaters = new Map();
    this.inputs = []; // focusable elements in declaration order
    this.signature = '';
    // Tab walks the fields in declaration order like Enter, instead of running off to the tabs.
    this.node.addEventListener('keydown', (e) => {
      if (e.key !== 'Tab' || e.ctrlKey || e.altKey || !this.inputs.includes(e.target)) return;
      e.preventDefault();
      this.focusNext(e.target, e.shiftKey ? -1 : 1);
    });
  }

  update(view) {
    this.models = new Map(view.controls.map((c) => [c.name, c]));
    const controls = view.controls.filter((c) => c.name !== view.tree && !this.drawnBeside(c, view.controls));
    const signature = controls.map((c) => `${c.name}:${c.kind}`).join('|');
    if (signature !== this.signature) this.build(controls);
    for (const c of controls) this.updaters.get(c.name)?.(c);
    const grid = this.node.querySelector('.fields');
    if (grid) grid.classList.toggle('many', grid.querySelectorAll(':scope > .field-row:not([hidden])').length > 14);
  }

  // A label that says what another control's column is stands beside that control's value, not
  // on a row of its own.
  drawnBeside(c, all) {
    if (c.kind !== 'label' || !c.caption) return false;
    const text = captionText(c.caption);
    return all.some((o) => o !== c && o.column === text);
  }

  build(controls) {
    this.signature = controls.map((c) => `${c.name}:${c.kind}`).join('|');
    this.updaters.clear();
    this.inputs = [];
    const grid = el('div', { class: 'fields' });
    for (let i = 0; i < controls.length; i++) {
      const c = controls[i];
      const row = el('div', { class: `field-row kind-${c.kind}` });
      const caption = el('label', { class: 'caption' });
      const cell = el('div', { class: 'cell' });
      row.append(caption, cell);
      const rowControls = [c];
      const valueAfter = i > 0 && looksCaption(c) && bareLabel(controls[i + 1]) && !wantsCaption(controls[i + 2]);
      if ((isCaption(c) && takesCaption(controls[i + 1])) || (c.kind === 'label' && c.caption && wantsCaption(controls[i + 1])) || valueAfter) {
        // A label that ends with a colon captions the control after it.
        this.bindCaption(c, caption);
        rowControls[0] = controls[++i];
      } else if (c.kind === 'text') {
        caption.textContent = plain(c.caption) || c.column || '';
      } else if (c.column) {
        // A value without a label of the form's: the column it shows.
        caption.textContent = c.column;
      }
      const first = rowControls[0];
      if (first.kind === 'option' || first.kind === 'button' || first.kind === 'check') {
        // Options of one array, and buttons or check boxes next to each other, share a row.
        while (controls[i + 1] && controls[i + 1].kind === first.kind &&
               (first.kind !== 'option' || baseName(controls[i + 1].name) === baseName(first.name))) {
          rowControls.push(controls[++i]);
        }
      }
      // The form's first label is its heading; other labels on their own are values or notes.
      if (first.kind === 'label' && !isCaption(first) && rowControls[0] === c && c.caption) {
        if (i === 0) row.classList.add('heading');
        else if (/^[*\s]+$/.test(c.caption)) row.classList.add('mask');
        else if (c.caption.length > 24) row.classList.add('note');
      }
      if (first.kind === 'list' || first.kind === 'grid' || first.kind === 'bar') row.classList.add('wide');
      for (const rc of rowControls) cell.append(this.make(rc, caption));
      if (this.captionFallback) this.captionFallback(rowControls[0]);
      this.bindRow(row, rowControls.map((rc) => rc.name), rowControls[0] === c && !caption.textContent);
      grid.append(row);
    }
    this.node.replaceChildren(grid);
  }

  bindCaption(c, caption) {
    // The caption column shows no colons, as the captions of the fields have none; a caption of
    // stars gives way to the column of the control it captions.
    let column = '';
    const show = (t) => { caption.textContent = isMask(t) ? column : captionText(t); };
    this.captionFallback = (captioned) => {
      column = captioned.column || '';
      show(c.caption);
      this.captionFallback = null;
    };
    show(c.caption);
    this.updaters.set(c.name, (m) => show(m.caption));
  }

  // A row is hidden when all its controls are, a row of bare labels while they are empty, and a
  // frame or other container with nothing to say, which would only leave a gap.
  bindRow(row, names, bare) {
    const shown = new Map();
    for (const n of names) {
      const inner = this.updaters.get(n);
      this.updaters.set(n, (m) => {
        inner?.(m);
        shown.set(n, m.visible && !(bare && m.kind === 'label' && !m.caption) && !(m.kind === 'other' && !m.text));
        row.hidden = names.every((x) => shown.get(x) === false);
      });
    }
  }

  common(node, c) {
    node.dataset.control = c.name;
    node.title = c.name;
    return node;
  }

  // A focusable input: typing, entering and leaving go to the form; Enter moves on.
  input(node, c, { leave = false } = {}) {
    this.inputs.push(node);
    node.addEventListener('input', () => this.win.type(c.name, node.value));
    node.addEventListener('focus', () => this.win.focusControl(c.name));
    if (leave) node.addEventListener('blur', () => !node.disabled && this.win.leave(c.name));
    node.addEventListener('keydown', (e) => {
      const key = { Enter: 'Enter', ArrowUp: 'Up', ArrowDown: 'Down' }[e.key];
      if (c.keys && key && !e.ctrlKey && !e.altKey && !e.shiftKey) {
        // The form moves the focus itself; the page follows the focus of the reply.
        e.preventDefault();
        this.win.send({ kind: 'key', control: c.name, key });
      } else if (e.key === 'Enter' && !e.ctrlKey && !e.altKey) {
        e.preventDefault();
        this.focusNext(node, e.shiftKey ? -1 : 1);
      } else if (e.key === 'F7' && c.reference) {
        e.preventDefault();
        this.win.send({ kind: 'browse', control: c.name });
      }
    });
    return node;
  }

  usable() { return this.inputs.filter((n) => !n.disabled && n.offsetParent !== null); }

  // Past the last field the tree takes the focus; while the tree is locked (editing) the fields
  // wrap around, so that the focus never leaves the window.
  focusNext(from, step) {
    const usable = this.usable();
    const at = usable.indexOf(from);
    const next = usable[at + step];
    if (next) next.focus();
    else if (this.win.treeUsable()) this.win.focusTree();
    else usable[step > 0 ? 0 : usable.length - 1]?.focus();
  }

  // The first (or, going back, the last) usable field; false when there is none.
  focusEdge(step) {
    const usable = this.usable();
    const node = usable[step > 0 ? 0 : usable.length - 1];
    node?.focus();
    return Boolean(node);
  }

  setText(node, name, text) {
    if (document.activeElement === node && this.win.pendingTypes(name) > 0) return;
    if (node.value !== text) node.value = text;
  }

  make(c, caption) {
    switch (c.kind) {
      case 'text': {
        const input = this.common(this.input(el('input', { type: 'text', autocomplete: 'off' }), c, { leave: true }), c);
        caption.htmlFor = input.id = `f-${this.win.id}-${c.name}`;
        if (!c.reference) {
          // A coded form's parent code stands before the segment box as a fixed prefix.
          const prefix = c.prefix ? el('span', { class: 'label-prefix', 'data-prefix-of': c.name }) : null;
          this.updaters.set(c.name, (m) => {
            input.disabled = !m.enabled;
            input.readOnly = !!m.locked;
            if (m.maxLength > 0) input.maxLength = m.maxLength;
            caption.textContent = plain(m.caption) || caption.textContent;
            this.setText(input, c.name, m.text);
            if (prefix) prefix.textContent = this.models.get(c.prefix)?.caption || '';
          });
          return prefix ? el('span', { class: 'prefixed' }, prefix, input) : input;
        }
        const browse = el('button', { class: 'browse', text: '…', title: '选择 (F7)', tabindex: '-1' });
        browse.addEventListener('mousedown', (e) => e.preventDefault());
        browse.addEventListener('click', () => this.win.send({ kind: 'browse', control: c.name }));
        this.updaters.set(c.name, (m) => {
          input.disabled = browse.disabled = !m.enabled;
          this.setText(input, c.name, m.text);
        });
        return el('span', { class: 'reference' }, input, browse);
      }
      case 'textbox':
      case 'date': {
        const input = this.common(this.input(el('input', { type: c.kind === 'date' ? 'date' : 'text', autocomplete: 'off' }),
          c, { leave: c.kind === 'textbox' }), c);
        caption.htmlFor = input.id = `f-${this.win.id}-${c.name}`;
        this.updaters.set(c.name, (m) => { input.disabled = !m.enabled; this.setText(input, c.name, m.text); });
        return input;
      }
      case 'combo': {
        const list = el('datalist', { id: `l-${this.win.id}-${c.name}` });
        const input = this.common(this.input(el('input', { type: 'text', list: list.id, autocomplete: 'off' }), c), c);
        this.updaters.set(c.name, (m) => {
          input.disabled = !m.enabled;
          this.setText(input, c.name, m.text);
          list.replaceChildren(...m.items.map((t) => el('option', { value: t })));
        });
        return el('span', {}, input, list);
      }
      case 'option':
      case 'check': {
        const box = this.common(el('input', { type: c.kind === 'option' ? 'radio' : 'checkbox' }), c);
        this.inputs.push(box);
        box.addEventListener('click', (e) => {
          e.preventDefault(); // the form decides the value
          this.win.send({ kind: 'click', control: c.name });
        });
        box.addEventListener('focus', () => this.win.focusControl(c.name));
        // Enter moves across check boxes and option buttons as across fields.
        box.addEventListener('keydown', (e) => {
          if (e.key !== 'Enter' || e.ctrlKey || e.altKey) return;
          e.preventDefault();
          this.focusNext(box, e.shiftKey ? -1 : 1);
        });
        const text = el('span', { text: plain(c.caption) });
        const label = el('label', { class: 'choice' }, box, text);
        this.updaters.set(c.name, (m) => {
          box.disabled = !m.enabled;
          box.checked = c.kind === 'option' ? m.value : m.value === 1;
          box.indeterminate = c.kind === 'check' && m.value === 2;
          text.textContent = plain(m.caption);
          label.hidden = !m.visible;
        });
        return label;
      }
      case 'bar': {
        // A form's own toolbar of pages: check buttons pressed one at a time, with separators.
        const bar = this.common(el('div', { class: 'form-bar', role: 'toolbar' }), c);
        const buttons = new Map();
        for (const b of c.buttons || []) {
          if (b.separator) { bar.append(el('span', { class: 'form-bar-sep' })); continue; }
          const button = el('button', { class: 'form-bar-button', text: b.caption.trim(), title: b.tip });
          button.addEventListener('click', () => this.win.send({ kind: 'click', control: c.name, button: b.index }));
          buttons.set(b.index, button);
          bar.append(button);
        }
        this.updaters.set(c.name, (m) => {
          bar.hidden = !m.visible;
          for (const b of m.buttons || []) {
            const button = buttons.get(b.index);
            if (!button) continue;
            button.classList.toggle('pressed', !!b.pressed);
            button.setAttribute('aria-pressed', b.pressed ? 'true' : 'false');
            button.disabled = !m.enabled || !b.enabled;
            button.hidden = !b.visible;
          }
        });
        return bar;
      }
      case 'button': {
        const button = this.common(el('button', { class: 'form-button', text: plain(c.caption) }), c);
        button.addEventListener('click', () => this.win.send({ kind: 'click', control: c.name }));
        this.updaters.set(c.name, (m) => { button.disabled = !m.enabled; button.textContent = plain(m.caption); button.hidden = !m.visible; });
        return button;
      }
      case 'picture': {
        const swatch = this.common(el('div', { class: 'picture' }), c);
        swatch.addEventListener('click', (e) => this.win.send({ kind: 'click', control: c.name, x: e.offsetX * 15, y: e.offsetY * 15 }));
        swatch.addEventListener('dblclick', () => this.win.send({ kind: 'dblclick', control: c.name }));
        this.updaters.set(c.name, (m) => { swatch.style.background = m.color; });
        return swatch;
      }
      case 'image': {
        // The picture where the form placed it (twips / 15 = pixels), clipped by its picture box.
        const img = el('img', { class: 'image-picture', alt: '' });
        const box = this.common(el('div', { class: 'image' }, img), c);
        box.addEventListener('dblclick', () => this.win.send({ kind: 'dblclick', control: c.name }));
        this.updaters.set(c.name, (m) => {
          const px = (twips) => `${Math.round(twips / 15)}px`;
          if (m.frame) Object.assign(box.style, { width: px(m.frame.width), height: px(m.frame.height) });
          img.hidden = !m.src;
          if (m.src && img.getAttribute('src') !== m.src) img.setAttribute('src', m.src);
          img.alt = m.text || '';
          Object.assign(img.style, { left: px(m.left), top: px(m.top), width: px(m.width), height: px(m.height) });
        });
        return box;
      }
      case 'label': {
        const span = this.common(el('span', { class: 'label-value' }), c);
        this.updaters.set(c.name, (m) => { span.textContent = m.caption; });
        return span;
      }
      case 'list': return this.table(c, (m) => [m.list.columns, m.list.items.map((it) => it.cells), m.list.items.map((it) => it.selected)], true);
      case 'grid': if (c.grid?.line) return this.lineGrid(c);
        return this.table(c, (m) => {
        const fixed = m.grid.fixedRows;
        return [fixed > 0 ? m.grid.cells[0] : [], m.grid.cells.slice(fixed), []];
      }, false);
      default: {
        const span = this.common(el('span', { class: 'label-value other' }), c);
        this.updaters.set(c.name, (m) => { span.textContent = m.text; });
        return span;
      }
    }
  }

  // The editable line grid: a cell takes typing while the grid and its column do; leaving a cell
  // sends its text (a lookup column's text is looked up, "…" browses), a row can be added or deleted.
  // The table is built once per shape and its cells filled in place, so the caret stays put.
  lineGrid(c) {
    const table = this.common(el('table', { class: 'grid line-grid' }), c);
    const add = el('button', { class: 'form-button', text: '添加行' });
    add.addEventListener('click', () => this.win.send({ kind: 'addrow', control: c.name }));
    const wrap = el('div', { class: 'grid-wrap' }, table, add);
    let shape = '';
    let inputs = [];
    this.updaters.set(c.name, (m) => {
      const g = m.grid;
      const editing = m.enabled && g.editable;
      const visible = (g.cols || []).map((col) => col.visible !== false);
      const key = `${g.cells.length}x${g.cells[0]?.length || 0}:${visible.join()}`;
      if (key !== shape) {
        shape = key;
        inputs = [];
        const head = el('tr', {}, ...(g.cells[0] || []).map((h, col) => el('th', visible[col] ? { text: h } : { text: h, hidden: '' })), el('th'));
        const body = [];
        for (let r = g.fixedRows; r < g.cells.length; r++) {
          const cells = g.cells[r].map((text, col) => {
            const info = g.cols[col] || {};
            const td = el('td', visible[col] ? {} : { hidden: '' });
            if (!info.editable) { td.dataset.row = r; td.dataset.col = col; return td; }
            const input = el('input', { type: 'text', autocomplete: 'off', 'data-row': r, 'data-col': col });
            let typed = false;
            input.addEventListener('input', () => { typed = true; });
            input.addEventListener('change', () => {
              if (!typed) return;
              typed = false;
              this.win.send({ kind: info.lookup ? 'celllookup' : 'cell', control: c.name, row: r, col, text: input.value });
            });
            td.append(input);
            if (info.lookup) {
              const browse = el('button', { class: 'browse', text: '…', title: '选择 (F7)', tabindex: '-1' });
              browse.addEventListener('click', () => this.win.send({ kind: 'cellbrowse', control: c.name, row: r, col }));
              td.append(browse);
            }
            inputs.push(input);
            return td;
          });
          const del = el('button', { class: 'browse', text: '×', title: '删除此行', tabindex: '-1' });
          del.addEventListener('click', () => this.win.send({ kind: 'delrow', control: c.name, row: r }));
          body.push(el('tr', {}, ...cells, el('td', {}, del)));
        }
        table.replaceChildren(el('thead', {}, head), el('tbody', {}, ...body));
      }
      for (const td of table.querySelectorAll('td[data-row]')) td.textContent = g.cells[td.dataset.row][td.dataset.col];
      for (const input of inputs) {
        input.disabled = !editing;
        const text = g.cells[input.dataset.row][input.dataset.col];
        if (document.activeElement !== input && input.value !== text) input.value = text;
      }
      for (const b of table.querySelectorAll('button')) b.disabled = !editing;
      add.disabled = !editing;
      table.classList.toggle('disabled', !m.enabled);
    });
    return wrap;
  }

  // A list view or grid as a table; a click on a list row picks it.
  table(c, rowsOf, pickable) {
    const table = this.common(el('table', { class: 'grid', tabindex: pickable ? '0' : '-1' }), c);
    const wrap = el('div', { class: 'grid-wrap' }, table);
    this.updaters.set(c.name, (m) => {
      const [head, rows, selected] = rowsOf(m);
      const thead = el('thead', {}, el('tr', {}, ...head.map((h) => el('th', { text: h }))));
      const tbody = el('tbody', {}, ...rows.map((r, i) => {
        const tr = el('tr', { class: selected[i] ? 'selected' : '' }, ...r.map((t) => el('td', { text: t })));
        if (pickable) tr.addEventListener('click', () => m.enabled && this.win.send({ kind: 'pick', control: c.name, index: i + 1 }));
        return tr;
      }));
      table.replaceChildren(thead, tbody);
      table.classList.toggle('disabled', !m.enabled);
    });
    return wrap;
  }

  focus(name) {
    const node = this.node.querySelector(`[data-control="${CSS.escape(name)}"]`);
    if (node && !node.disabled && node.offsetParent !== null && typeof node.focus === 'function') {
      node.focus();
      return true;
    }
    return false;
  }
}
