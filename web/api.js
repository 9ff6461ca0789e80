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
      const res = await fetch(url, {
        method,
        headers: body === undefined ? {} : { 'Content-Type': 'application/json' },
        body: body === undefined ? (method === 'GET' ? undefined : '{}') : JSON.stringify(body),
      });
      const data = await res.json().catch(() => ({ error: '服务器的回答无法读取' }));
      if (res.status < 500) return { status: res.status, body: data };
      reason = `服务器出错（${res.status}）：${data.error || ''}`;
    } catch (e) {
      reason = '与服务器的连接中断。';
    }
    await showOffline(reason);
  }
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

// Leaving the page: the window is closed even though the page goes away.
export function closeOnLeave(windowId) {
  navigator.sendBeacon(`/api/windows/${windowId}/close`, new Blob(['{}'], { type: 'text/plain' }));
}
