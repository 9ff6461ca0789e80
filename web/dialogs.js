// Modal boxes in the page: message boxes, input boxes, browse windows, the colour and file dialogs
// and the box of a file the form opens.
// Each returns a promise of the answer in the form the host expects.

const CAPTIONS = { 1: '确定', 2: '取消', 3: '中止(A)', 4: '重试(R)', 5: '忽略(I)', 6: '是(Y)', 7: '否(N)' };
const LETTERS = { 3: 'a', 4: 'r', 5: 'i', 6: 'y', 7: 'n' };
const ICONS = { information: 'i', exclamation: '!', question: '?', critical: '×' };

function el(tag, attrs = {}, ...children) {
  const e = document.createElement(tag);
  for (const [k, v] of Object.entries(attrs)) {
    if (k === 'class') e.className = v;
    else if (k === 'text') e.textContent = v;
    else e.setAttribute(k, v);
  }
  for (const c of children) if (c) e.append(c);
  return e;
}

export const isOpen = () => document.getElementById('modals').childElementCount > 0;

// Shows a modal frame; `build(body, close)` fills it; keys go to `onKey` first.
function modal(kind, title, build, onKey) {
  return new Promise((resolve) => {
    const before = document.activeElement;
    const box = el('div', { class: `dialog ${kind}`, role: 'dialog', 'aria-modal': 'true', 'aria-label': title || ' ' });
    const overlay = el('div', { class: 'overlay' }, box);
    const head = el('div', { class: 'dialog-title', text: title || '\u00a0' });
    const body = el('div', { class: 'dialog-body' });
    box.append(head, body);
    const close = (answer) => {
      overlay.remove();
      if (before && before.isConnected && !isOpen()) before.focus?.();
      resolve(answer);
    };
    build(body, close);
    overlay.addEventListener('keydown', (e) => {
      e.stopPropagation();
      if (onKey) onKey(e, close);
      if (e.key === 'Tab') {
        // Focus stays inside the box.
        const items = [...box.querySelectorAll('button, input, a[href], [tabindex]')];
        const i = items.indexOf(document.activeElement);
        const next = items[(i + (e.shiftKey ? -1 : 1) + items.length) % items.length];
        if (next) { next.focus(); e.preventDefault(); }
      }
    });
    document.getElementById('modals').append(overlay);
    (box.querySelector('[autofocus]') || box.querySelector('button'))?.focus();
  });
}

// A message box: {title, text, icon, buttons: [{answer}], default, cancel}; gives the answer.
export function messageBox(d) {
  return modal('msgbox', d.title, (body, close) => {
    const icon = d.icon ? el('div', { class: `icon ${d.icon}`, text: ICONS[d.icon] || '' }) : null;
    body.append(el('div', { class: 'message' }, icon, el('p', { class: 'text', text: d.text })));
    const row = el('div', { class: 'buttons' });
    for (const b of d.buttons) {
      const btn = el('button', { text: CAPTIONS[b.answer] || b.name, 'data-answer': b.answer });
      if (b.answer === d.default) btn.setAttribute('autofocus', '');
      btn.addEventListener('click', () => close(b.answer));
      row.append(btn);
    }
    body.append(row);
  }, (e, close) => {
    const letter = e.key.toLowerCase();
    const hit = d.buttons.find((b) => LETTERS[b.answer] === letter);
    if (hit) { e.preventDefault(); close(hit.answer); }
    else if (e.key === 'Escape') { e.preventDefault(); close(d.cancel); }
    else if (e.key === 'Enter' && document.activeElement?.dataset.answer === undefined) {
      e.preventDefault(); close(d.default);
    }
  });
}

// An input box: gives the text, or null for Cancel.
export function inputBox(d) {
  let input;
  return modal('input', d.title, (body, close) => {
    input = el('input', { type: 'text', autofocus: '' });
    input.value = d.text || '';
    body.append(el('label', { class: 'prompt', text: d.prompt }), input);
    const ok = el('button', { text: '确定' });
    const cancel = el('button', { text: '取消' });
    ok.addEventListener('click', () => close(input.value));
    cancel.addEventListener('click', () => close(null));
    body.append(el('div', { class: 'buttons' }, ok, cancel));
  }, (e, close) => {
    if (e.key === 'Escape') { e.preventDefault(); close(null); }
    else if (e.key === 'Enter' && document.activeElement === input) { e.preventDefault(); close(input.value); }
  });
}

// The colour picker, drawn from the picker the form runs: the hue and saturation map and the
// brightness strip as canvases of its colours, the current colour, and the seven boxes. Every
// click and every key is an answer (an action on the picker); the host asks again with the picker
// as it then stands, and the open dialog takes it in place, so that the focus stays where it was.
// OK and Cancel end it; Esc is Cancel (null).
const BOXES = [['txtHue', '色调 H'], ['txtSat', '饱和度 S'], ['txtBri', '亮度 B'],
  ['txtRed', '红 R'], ['txtGreen', '绿 G'], ['txtBlue', '蓝 B'], ['txtHex', '十六进制 #']];
let picker = null;

export function endPicker() {
  if (!picker) return;
  picker.overlay.remove();
  if (picker.before?.isConnected && !isOpen()) picker.before.focus?.();
  picker = null;
}

function buildPicker(d) {
  const p = { before: document.activeElement, inputs: {} };
  // An action while the last one is on its way waits for the next ask (the latest one wins).
  const answer = (a) => {
    const r = p.resolve;
    p.resolve = null;
    if (r) r(a); else p.pending = a;
  };
  p.map = el('canvas', { class: 'picker-map', width: d.size, height: d.size, 'data-control': 'pc' });
  p.mark = el('div', { class: 'picker-mark' });
  p.strip = el('canvas', { class: 'picker-strip', width: 1, height: d.strip.length, 'data-control': 'picBrightness' });
  p.swatch = el('div', { class: 'picker-swatch', 'data-control': 'lblCurrColor' });
  const at = (e, canvas, w, h) => {
    const r = canvas.getBoundingClientRect();
    return [Math.min(w - 1, Math.max(0, Math.floor((e.clientX - r.left) * w / r.width))),
      Math.min(h - 1, Math.max(0, Math.floor((e.clientY - r.top) * h / r.height)))];
  };
  // A click, or a drag with the button held, moves the values.
  const track = (canvas, control, w, h) => canvas.addEventListener('mousedown', (e) => {
    e.preventDefault();
    const send = (m) => { const [x, y] = at(m, canvas, w, h); answer({ kind: 'click', control, x, y }); };
    send(e);
    const up = () => { document.removeEventListener('mousemove', send); document.removeEventListener('mouseup', up); };
    document.addEventListener('mousemove', send);
    document.addEventListener('mouseup', up);
  });
  track(p.map, 'pc', d.size, d.size);
  track(p.strip, 'picBrightness', 1, d.strip.length);
  const boxes = el('div', { class: 'picker-boxes' });
  for (const [name, caption] of BOXES) {
    const input = el('input', { type: 'text', 'data-control': name, autocomplete: 'off', maxlength: name === 'txtHex' ? 7 : 3 });
    input.addEventListener('input', () => answer({ kind: 'type', control: name, text: input.value }));
    input.addEventListener('focus', () => { input.select(); });
    input.addEventListener('blur', () => { if (picker === p && !p.closing) answer({ kind: 'leave', control: name }); });
    p.inputs[name] = input;
    boxes.append(el('label', {}, el('span', { text: caption }), input));
  }
  const ok = el('button', { text: '确定', 'data-control': 'cmdOK' });
  const cancel = el('button', { text: '取消', 'data-control': 'cmdCancel' });
  ok.addEventListener('mousedown', (e) => e.preventDefault());
  cancel.addEventListener('mousedown', (e) => e.preventDefault());
  ok.addEventListener('click', () => { p.closing = true; answer({ kind: 'click', control: 'cmdOK' }); });
  cancel.addEventListener('click', () => { p.closing = true; answer({ kind: 'click', control: 'cmdCancel' }); });
  const box = el('div', { class: 'dialog color', role: 'dialog', 'aria-modal': 'true', 'aria-label': d.title || ' ' },
    p.head = el('div', { class: 'dialog-title' }),
    el('div', { class: 'dialog-body' },
      el('div', { class: 'picker' }, el('div', { class: 'picker-map-wrap' }, p.map, p.mark), p.strip,
        el('div', { class: 'picker-side' }, p.swatch, boxes)),
      el('div', { class: 'buttons' }, ok, cancel)));
  p.overlay = el('div', { class: 'overlay' }, box);
  p.overlay.addEventListener('keydown', (e) => {
    e.stopPropagation();
    if (e.key === 'Escape') { e.preventDefault(); p.closing = true; answer(null); }
    else if (e.key === 'Enter' && e.target.tagName === 'INPUT') { e.preventDefault(); ok.click(); }
  });
  document.getElementById('modals').append(p.overlay);
  const image = p.map.getContext('2d').createImageData(d.size, d.size);
  for (let i = 0; i < d.size * d.size; i++) {
    const hex = d.map.substr(i * 6, 6);
    image.data.set([parseInt(hex.slice(0, 2), 16), parseInt(hex.slice(2, 4), 16), parseInt(hex.slice(4, 6), 16), 255], i * 4);
  }
  p.map.getContext('2d').putImageData(image, 0, 0);
  ok.focus();
  return p;
}

export function colourBox(d) {
  if (!picker) picker = buildPicker(d);
  const p = picker;
  p.head.textContent = d.title || '\u00a0';
  p.swatch.style.background = d.color;
  const ctx = p.strip.getContext('2d');
  d.strip.forEach((c, y) => { ctx.fillStyle = c; ctx.fillRect(0, y, 1, 1); });
  p.mark.hidden = !d.selector.visible;
  p.mark.style.left = `${(d.selector.x / d.size) * 100}%`;
  p.mark.style.top = `${(d.selector.y / d.size) * 100}%`;
  for (const [name, input] of Object.entries(p.inputs)) {
    // A box whose newer text is still to be sent keeps it; the others show the picker's.
    if (p.pending?.control !== name && input.value !== d.boxes[name]) input.value = d.boxes[name];
  }
  const pending = p.pending;
  p.pending = null;
  if (pending) return Promise.resolve(pending);
  return new Promise((resolve) => { p.resolve = resolve; });
}

// A browse window of a reference field: a filterable table; gives the row index, or -1.
// Lookups name their columns by field; the common ones get the clerk's words.
const HEADINGS = { code: '编码', caption: '名称', name: '名称' };

export function browseBox(d) {
  let pick = -1;
  let shown = [];
  let table;
  let filter;
  const mark = () => table.querySelectorAll('tbody tr').forEach((tr) => tr.classList.toggle('selected', +tr.dataset.row === pick));
  return modal('browse', d.title, (body, close) => {
    filter = el('input', { type: 'search', placeholder: '筛选', autofocus: '' });
    table = el('table', { class: 'browse-table' });
    const head = el('tr');
    d.columns.forEach((c) => head.append(el('th', { text: HEADINGS[String(c).toLowerCase()] ?? c })));
    table.append(el('thead', {}, head), el('tbody'));
    const fill = () => {
      const q = filter.value.trim().toLowerCase();
      shown = d.rows.map((r, i) => [r, i]).filter(([r]) => !q || r.some((c) => c.toLowerCase().includes(q)));
      const tbody = table.querySelector('tbody');
      tbody.replaceChildren(...shown.slice(0, 500).map(([r, i]) => {
        const tr = el('tr', { 'data-row': i });
        r.forEach((c) => tr.append(el('td', { text: c })));
        tr.addEventListener('click', () => { pick = i; mark(); });
        tr.addEventListener('dblclick', () => close(i));
        return tr;
      }));
      pick = shown.length ? shown[0][1] : -1;
      mark();
    };
    filter.addEventListener('input', fill);
    const ok = el('button', { text: '确定' });
    const cancel = el('button', { text: '取消' });
    ok.addEventListener('click', () => close(pick));
    cancel.addEventListener('click', () => close(-1));
    body.append(filter, el('div', { class: 'browse-rows' }, table), el('div', { class: 'buttons' }, ok, cancel));
    fill();
  }, (e, close) => {
    if (e.key === 'Escape') { e.preventDefault(); close(-1); }
    else if (e.key === 'Enter' && document.activeElement?.tagName !== 'BUTTON') { e.preventDefault(); close(pick); }
    else if (e.key === 'ArrowDown' || e.key === 'ArrowUp') {
      e.preventDefault();
      const at = shown.findIndex(([, i]) => i === pick) + (e.key === 'ArrowDown' ? 1 : -1);
      if (at >= 0 && at < shown.length) { pick = shown[at][1]; mark(); }
    }
  });
}

// The open-file dialog over the host's folders: gives {dir} to show another folder,
// {files, filterIndex} for the choice, or null for Cancel.
export function fileBox(d) {
  const folder = d.folder;
  const join = (name) => `${folder.dir.replace(/\/$/, '')}/${name}`;
  let name;
  let filterSelect;
  let picked = null;
  return modal('file', d.title || '打开', (body, close) => {
    const up = el('button', { text: '上级', title: '上一级文件夹' });
    up.disabled = !folder.parent;
    up.addEventListener('click', () => close({ dir: folder.parent }));
    body.append(el('div', { class: 'file-path' }, up, el('span', { text: folder.dir })));
    const list = el('ul', { class: 'file-list', role: 'listbox' });
    for (const entry of folder.entries) {
      const li = el('li', { class: entry.dir ? 'is-dir' : 'is-file', text: entry.dir ? `📁 ${entry.name}` : entry.name, role: 'option' });
      li.addEventListener('click', () => {
        picked = entry;
        list.querySelectorAll('li').forEach((x) => x.classList.toggle('selected', x === li));
        if (!entry.dir) name.value = entry.name;
      });
      li.addEventListener('dblclick', () => close(entry.dir ? { dir: join(entry.name) } : { files: [entry.name], filterIndex: +filterSelect.value }));
      list.append(li);
    }
    name = el('input', { type: 'text', autofocus: '' });
    name.value = d.fileName || '';
    filterSelect = el('select');
    d.filters.forEach((f, i) => {
      const o = el('option', { value: i + 1, text: `${f.name} (${f.patterns})` });
      if (i + 1 === d.filterIndex) o.selected = true;
      filterSelect.append(o);
    });
    filterSelect.addEventListener('change', () => close({ dir: folder.dir, filterIndex: +filterSelect.value }));
    const ok = el('button', { text: '打开' });
    const cancel = el('button', { text: '取消' });
    const choose = () => {
      if (picked && picked.dir && !name.value) return close({ dir: join(picked.name) });
      const files = name.value.split(/\s*;\s*/).filter(Boolean);
      if (files.length) close({ files, filterIndex: +filterSelect.value || 1 });
    };
    ok.addEventListener('click', choose);
    cancel.addEventListener('click', () => close(null));
    body.append(list, el('div', { class: 'file-name' }, el('span', { text: '文件名：' }), name),
      d.filters.length ? el('div', { class: 'file-name' }, el('span', { text: '类型：' }), filterSelect) : null,
      el('div', { class: 'buttons' }, ok, cancel));
    body._choose = choose;
  }, (e, close) => {
    if (e.key === 'Escape') { e.preventDefault(); close(null); }
    else if (e.key === 'Enter' && document.activeElement === name) { e.preventDefault(); name.closest('.dialog-body')._choose(); }
  });
}

// A file or address the form opens: a link that downloads the file (or opens the address) here,
// on the user's machine; following it, Close or Esc gives null.
export function openBox(d) {
  return modal('open', d.title, (body, close) => {
    const link = d.url
      ? el('a', { href: d.url, download: d.name, autofocus: '', text: `下载 ${d.name}` })
      : el('a', { href: d.address, target: '_blank', rel: 'noopener noreferrer', autofocus: '', text: `打开 ${d.name}` });
    link.addEventListener('click', () => setTimeout(() => close(null)));
    const size = d.size === undefined ? '' : `（${d.size} 字节）`;
    const done = el('button', { text: '关闭' });
    done.addEventListener('click', () => close(null));
    body.append(el('p', { class: 'text', text: `${d.name}${size}` }), el('p', {}, link), el('div', { class: 'buttons' }, done));
  }, (e, close) => {
    if (e.key === 'Escape') { e.preventDefault(); close(null); }
  });
}

// A dialog of the host by its kind.
export function showDialog(d) {
  switch (d.kind) {
    case 'msgbox': return messageBox(d);
    case 'input': return inputBox(d);
    case 'color': return colourBox(d);
    case 'browse': return browseBox(d);
    case 'file': return fileBox(d);
    case 'open': return openBox(d);
    default: return Promise.resolve(null);
  }
}

// An error the form reported (levels 8 and 9): a box with its title.
export function errorBox(title, text) {
  return messageBox({ title, text, icon: 'critical', buttons: [{ answer: 1 }], default: 1, cancel: 1 });
}

export { el };
