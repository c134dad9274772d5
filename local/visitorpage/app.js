'use strict';
// The visitor's page: pick a site, chat with its operators through /visitor-api/.

const POLL_MS = 700;
const TYPING_MS = 600;
const MAX_FILE_BYTES = 1000 * 1000;

const $ = (id) => document.getElementById(id);
const state = { token: '', visitor: '', chat: '', since: '', people: {}, mine: [], shown: new Set() };
let pollTimer = 0;
let polling = false;
let pollAgain = false;
let typingTimer = 0;
let typingSent = '';

function element(tag, className, text) {
  const node = document.createElement(tag);
  if (className) node.className = className;
  if (text !== undefined) node.textContent = text;
  return node;
}

async function api(route, body, options = {}) {
  const headers = {};
  if (state.token) headers.Authorization = `Bearer ${state.token}`;
  let payload;
  if (body instanceof Blob) {
    headers['Content-Type'] = 'application/octet-stream';
    payload = body;
  } else if (body !== undefined) {
    headers['Content-Type'] = 'application/json';
    payload = JSON.stringify(body);
  }
  const response = await fetch(`/visitor-api/${route}`, {
    method: body === undefined ? 'GET' : 'POST',
    headers,
    body: payload,
    keepalive: options.keepalive,
  });
  let answer = {};
  try {
    answer = await response.json();
  } catch (e) {
    answer = {};
  }
  if (!response.ok) {
    const error = new Error(answer.error || `Ошибка ${response.status}`);
    error.status = response.status;
    throw error;
  }
  return answer;
}

function showBanner(text) {
  $('banner').textContent = text || '';
  $('banner').hidden = !text;
}

async function loadSites() {
  const box = $('sites');
  try {
    const { sites } = await api('sites');
    box.replaceChildren();
    if (!sites.length) box.append(element('div', 'muted', 'Сайтов пока нет.'));
    for (const site of sites) {
      const button = element('button', 'site');
      button.type = 'button';
      button.dataset.widget = site.widget;
      button.append(element('div', 'site-name', site.name), element('div', 'site-host', site.site));
      button.addEventListener('click', () => arrive(site));
      box.append(button);
    }
  } catch (e) {
    box.replaceChildren(element('div', 'error', `Не удалось загрузить сайты: ${e.message}`));
  }
}

async function arrive(site) {
  try {
    const answer = await api('arrive', { widget: site.widget });
    Object.assign(state, { token: answer.token, visitor: answer.visitor, chat: '', since: '' });
  } catch (e) {
    $('sites').prepend(element('div', 'error', e.message));
    return;
  }
  const where = $('where');
  where.replaceChildren(`Вы на сайте ${site.site} · ${site.name}`);
  const back = element('a', '', 'Сменить сайт');
  back.href = '#';
  back.addEventListener('click', (event) => {
    event.preventDefault();
    leave();
  });
  where.append(back);
  where.hidden = false;
  $('picker').hidden = true;
  $('chat').hidden = false;
  $('text').focus();
  poll();
}

async function leave() {
  clearTimeout(pollTimer);
  const token = state.token;
  if (token) api('leave', {}, { keepalive: true }).catch(() => {});
  Object.assign(state, { token: '', visitor: '', chat: '', since: '', people: {}, mine: [] });
  state.shown.clear();
  $('messages').replaceChildren($('empty') || element('div', 'empty'));
  $('empty').hidden = false;
  $('where').hidden = true;
  $('chat').hidden = true;
  $('picker').hidden = false;
  showBanner('');
}

async function ensureChat() {
  const { chat } = await api('start', {});
  if (chat !== state.chat) Object.assign(state, { chat, since: '' });
}

function formatSize(bytes) {
  if (bytes < 1024) return `${bytes} Б`;
  if (bytes < 1024 * 1024) return `${Math.round(bytes / 1024)} КБ`;
  return `${(bytes / 1024 / 1024).toFixed(1)} МБ`;
}

function formatTime(ms) {
  return typeof ms === 'number' ? new Date(ms).toLocaleTimeString('ru-RU', { hour: '2-digit', minute: '2-digit' }) : '';
}

function nameOf(key) {
  const person = state.people[key];
  return (person && person.name) || 'Оператор';
}

// Text with its links clickable, built from text nodes only.
function linkify(text) {
  const fragment = document.createDocumentFragment();
  let last = 0;
  for (const match of text.matchAll(/https?:\/\/[^\s<>"]+/g)) {
    fragment.append(text.slice(last, match.index));
    const link = element('a', '', match[0]);
    link.href = match[0];
    link.target = '_blank';
    link.rel = 'noopener noreferrer';
    fragment.append(link);
    last = match.index + match[0].length;
  }
  fragment.append(text.slice(last));
  return fragment;
}

function eventText(message) {
  const who = nameOf(message.sender);
  switch (message.type) {
    case 'joined': return `${who} подключился к диалогу`;
    case 'left': return `${who} покинул диалог`;
    case 'invited': return `${who} пригласил коллегу`;
    case 'ended': return 'Диалог завершён';
    case 'system':
      if (message.subType === 'introduction') {
        const a = message.attributes || {};
        return `Контакты отправлены: ${[a.name, a.email, a.phone].filter(Boolean).join(', ')}`;
      }
      return message.text || '';
    default: return message.text || '';
  }
}

// The person's photo, or their initial when there is none or it does not load.
function avatar(person) {
  const initial = element('span', 'avatar letter', ((person && person.name) || '?').charAt(0));
  if (!person || !person.photo) return initial;
  const photo = element('img', 'avatar');
  photo.alt = '';
  photo.addEventListener('error', () => {
    Object.assign(initial, { id: photo.id });
    Object.assign(initial.dataset, photo.dataset);
    photo.replaceWith(initial);
  });
  photo.src = person.photo;
  return photo;
}

function render(message) {
  const mine = message.sender === state.visitor;
  if (!['text', 'image', 'file', 'payment'].includes(message.type)) {
    const text = eventText(message);
    return text ? element('div', 'event', text) : null;
  }
  const row = element('div', `message ${mine ? 'mine' : 'theirs'}`);
  row.dataset.key = message.key;
  row.dataset.role = mine ? 'visitor' : (state.people[message.sender] || {}).role || 'operator';
  const person = state.people[message.sender];
  if (!mine) row.append(avatar(person));
  const bubble = element('div', 'bubble');
  if (!mine) bubble.append(element('div', 'sender', nameOf(message.sender)));
  if (message.type === 'image') {
    const link = element('a');
    link.href = message.url;
    link.target = '_blank';
    link.rel = 'noopener noreferrer';
    const image = element('img');
    image.src = message.preview || message.url;
    image.alt = message.filename || 'Изображение';
    link.append(image);
    bubble.append(link);
  } else if (message.type === 'file') {
    const link = element('a', 'file');
    link.href = message.url;
    link.download = message.filename || '';
    link.append(element('span', '', `📄 ${message.filename || 'Файл'}`),
                element('span', 'file-size', formatSize(Number(message.size) || 0)));
    bubble.append(link);
  } else if (message.type === 'payment') {
    const link = element('a', '', message.text || 'Ссылка на оплату');
    link.href = message.url || (message.attributes || {}).url || '#';
    link.target = '_blank';
    bubble.append(link);
  } else {
    const body = element('div', 'text');
    body.append(linkify(message.text || ''));
    bubble.append(body);
  }
  const meta = element('div', 'meta', formatTime(message.sentAt));
  if (mine) {
    const tick = element('span', 'tick', ' ✓');
    meta.append(tick);
    state.mine.push(tick);
  }
  bubble.append(meta);
  row.append(bubble);
  return row;
}

// The operator read everything but the last `unread` of the visitor's messages.
function markRead(unread) {
  const read = state.mine.length - Math.max(0, unread || 0);
  state.mine.forEach((tick, index) => {
    tick.textContent = index < read ? ' ✓✓' : ' ✓';
    tick.classList.toggle('read', index < read);
  });
}

function showHeader(answer) {
  const operators = Object.entries(answer.people || {}).filter(([, p]) => p.role === 'operator');
  const [key, agent] = operators.length ? operators[operators.length - 1] : [];
  $('agent-name').textContent = agent ? agent.name : 'Онлайн-консультант';
  const look = agent ? `${agent.photo}|${agent.name}` : '';
  if ($('agent-photo').dataset.look !== look) {
    const shown = agent ? avatar(agent) : element('span', 'avatar letter', 'T');
    shown.id = 'agent-photo';
    shown.dataset.look = look;
    $('agent-photo').replaceWith(shown);
  }
  const state_ = $('agent-state');
  state_.textContent = answer.status === 'ended' ? 'Диалог завершён' : agent ? 'В сети' : 'Задайте вопрос — мы ответим';
  state_.classList.toggle('online', Boolean(key) && answer.status !== 'ended');
}

// One poll at a time: a call while one is under way asks for another right after it.
async function poll() {
  clearTimeout(pollTimer);
  if (polling) {
    pollAgain = true;
    return;
  }
  if (!state.token) return;
  polling = true;
  try {
    const answer = await api(`poll?since=${encodeURIComponent(state.since)}`);
    showBanner('');
    if (answer.chat && answer.chat === state.chat) {
      Object.assign(state.people, answer.people || {});
      const box = $('messages');
      const atBottom = box.scrollHeight - box.scrollTop - box.clientHeight < 40;
      let fromOperator = false;
      for (const message of answer.messages || []) {
        state.since = message.key;
        if (state.shown.has(message.key)) continue;
        state.shown.add(message.key);
        const node = render(message);
        if (node) box.append(node);
        fromOperator = fromOperator || message.sender !== state.visitor;
      }
      $('empty').hidden = box.children.length > 1;
      if (atBottom || fromOperator) box.scrollTop = box.scrollHeight;
      markRead(answer.unread);
      showHeader(answer);
      const typing = (answer.typing || []).map((t) => t.text ? `${nameOf(t.sender)} печатает: ${t.text}` : `${nameOf(t.sender)} печатает…`);
      $('typing').textContent = typing.join(' · ');
      $('typing').hidden = typing.length === 0;
      if (fromOperator && document.visibilityState === 'visible') api('read', {}).catch(() => {});
    } else if (answer.chat && !state.chat) {
      state.chat = answer.chat;
    }
  } catch (e) {
    if (e.status === 401) {
      showBanner('Сеанс завершён. Выберите сайт заново.');
      state.token = '';
    } else {
      showBanner('Нет связи с сервером. Повторяем…');
    }
  } finally {
    polling = false;
  }
  if (!state.token) return;
  if (pollAgain) {
    pollAgain = false;
    poll();
  } else {
    pollTimer = setTimeout(poll, POLL_MS);
  }
}

async function send(event) {
  event.preventDefault();
  const box = $('text');
  const text = box.value.trim();
  if (!text || !state.token) return;
  $('send').disabled = true;
  try {
    await ensureChat();
    await api('send', { text });
    box.value = '';
    typingSent = '';
    autosize();
    poll();
  } catch (e) {
    showBanner(e.message);
  } finally {
    $('send').disabled = false;
    box.focus();
  }
}

function typed() {
  autosize();
  clearTimeout(typingTimer);
  typingTimer = setTimeout(() => {
    const text = $('text').value;
    if (!state.chat || !state.token || text === typingSent) return;
    typingSent = text;
    api('typing', { text }).catch(() => {});
  }, TYPING_MS);
}

function autosize() {
  const box = $('text');
  box.style.height = 'auto';
  box.style.height = `${Math.min(box.scrollHeight + 2, 160)}px`;
}

async function attach() {
  const input = $('file');
  const file = input.files[0];
  input.value = '';
  if (!file) return;
  if (file.size > MAX_FILE_BYTES) {
    showBanner(`Файл «${file.name}» больше 1 МБ`);
    return;
  }
  try {
    await ensureChat();
    await api(`file?name=${encodeURIComponent(file.name)}`, file);
    poll();
  } catch (e) {
    showBanner(e.message);
  }
}

async function introduce(event) {
  event.preventDefault();
  const form = $('intro');
  const fields = Object.fromEntries(['name', 'email', 'phone'].map((n) => [n, form.elements[n].value.trim()]));
  try {
    await ensureChat();
    await api('introduce', fields);
    form.hidden = true;
    poll();
  } catch (e) {
    $('intro-error').textContent = e.message;
    $('intro-error').hidden = false;
  }
}

document.addEventListener('DOMContentLoaded', () => {
  $('composer').addEventListener('submit', send);
  $('text').addEventListener('input', typed);
  $('text').addEventListener('keydown', (event) => {
    if (event.key === 'Enter' && !event.shiftKey && !event.isComposing) send(event);
  });
  $('attach').addEventListener('click', () => $('file').click());
  $('file').addEventListener('change', attach);
  $('introduce').addEventListener('click', () => {
    $('intro-error').hidden = true;
    $('intro').hidden = !$('intro').hidden;
    if (!$('intro').hidden) $('intro').elements.name.focus();
  });
  $('intro-cancel').addEventListener('click', () => { $('intro').hidden = true; });
  $('intro').addEventListener('submit', introduce);
  $('leave').addEventListener('click', leave);
  document.addEventListener('visibilitychange', () => {
    if (document.visibilityState === 'visible' && state.chat && state.token) api('read', {}).catch(() => {});
  });
  window.addEventListener('pagehide', () => {
    if (state.token) api('leave', {}, { keepalive: true }).catch(() => {});
  });
  loadSites();
});
