// Requests to the host. A lost connection or a server error shows one line with a retry; the
// request is sent again when the user retries, so callers simply wait for the answer.

const offline = () => document.getElementById('offline');

let retryWaiters = [];

function showOffline(text) {
  document.getElementById('offline-text').textContent = text;
  offline().hidden = false;
  return new Promise((resolve) => retryWaiters.push(resolve));
}

export function setupRetry() {
  document.getElementById('retry').addEventListener('click', () => {
    offline().hidden = true;
    const waiting = retryWaiters;
    retryWaiters = [];
    waiting.forEach((resolve) => resolve());
  });
}

// Gives {status, body}; 4xx answers come back to the caller, which shows them.
export async function request(method, url, body) {
  for (;;) {
    let reason;
    try {
      const res = await fetch(url, method === 'GET' ? { method } : post(method, body));
      const data = await res.json().catch(() => ({ error: '服务器的回答无法读取' }));
      if (res.status < 500) return { status: res.status, body: data };
      reason = `服务器出错（${res.status}）：${data.error || ''}`;
    } catch (e) {
      reason = '与服务器的连接中断。';
    }
    await showOffline(reason);
  }
}

// The host takes only JSON bodies for anything but GET.
function post(method, body = {}) {
  return { method, headers: { 'Content-Type': 'application/json' }, body: JSON.stringify(body) };
}

// Runs the jobs given to it one after the other, so that a window's requests keep their order.
export class Queue {
  constructor() {
    this.tail = Promise.resolve();
    this.length = 0;
  }
  push(job) {
    this.length++;
    const run = this.tail.then(job).finally(() => this.length--);
    this.tail = run.catch(() => {});
    return run;
  }
}

// A request that is not waited for: it is sent even when the page goes away meanwhile.
export function send(url) {
  fetch(url, { ...post('POST'), keepalive: true }).catch(() => {});
}
