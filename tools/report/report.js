// What the page can do beyond being read: zoom and pan of the timelines, the records behind a lane or a bar, sorting and
// filtering of the tables. Text of a capture gets into the page as text, never as markup.
const data = JSON.parse(document.getElementById('data').textContent);
const severities = ['cleared', 'info', 'warning', 'minor', 'major', 'critical'];
const svg = ['g', 'line', 'rect', 'text', 'title'];
const ends = ['active', 'cleared', 'evicted'];
const perSecond = 1000; // places to a second
const firstDate = 0x20000000; // times before it are seconds since the system's start
const trackPitch = 18, trackHeight = 16;
const rowsAtOnce = 250;

function element(name, attributes = {}, ...children) {
    const made = document.createElementNS(`http://www.w3.org/${svg.includes(name) ? '2000/svg' : '1999/xhtml'}`, name);
    for (const [key, value] of Object.entries(attributes)) {
        made.setAttribute(key, value);
    }
    made.append(...children);
    return made;
}

function button(text, act, attributes = {}) {
    const made = element('button', {type: 'button', ...attributes}, ...[text].flat());
    made.addEventListener('click', act);
    return made;
}

function timeText(time) {
    return time === null ? 'time unknown' : time < firstDate ? `start+${time}s` : new Date(time * 1000).toISOString().slice(0, 19).replace('T', ' ');
}

// --- the data ---
function timeAt(server, place) {
    const [start, first, last] = server.eras.findLast(era => era[0] <= place) ?? [0, 0, 0];
    return Math.min(last, first + Math.floor((place - start) / perSecond));
}

// Five numbers a record.
function records(numbers, server) {
    const unpacked = [];
    for (let at = 0, place = 0; at < numbers.length; at += 5) {
        const [step, id, severity, event, late] = numbers.slice(at, at + 5);
        place += step;
        unpacked.push({place, id, severity, change: 'repeated', event: data.words[event],
                       time: late === null ? null : timeAt(server, place) - late});
    }
    return unpacked;
}

function unpackLife([name, track, end, numbers], server) {
    const all = records(numbers, server), last = all.at(-1);
    const life = {track, active: end === 0, records: all, from: all[0].place, to: end === 0 ? server.end : last.place};
    const worst = all.reduce((level, record) => Math.max(level, record.severity), 0);
    if (!life.active) {
        last.change = ends[end];
    }
    all[0].change = 'raised';
    life.title = [data.words[name], severities[worst], `raised ${timeText(all[0].time)}`,
                  life.active ? 'active' : `${ends[end]} ${timeText(last.time)}`, `records: ${all.length}`].join(', ');
    return life;
}

function lives(lane, server) {
    return lane.unpacked ??= lane.lives.map(life => unpackLife(life, server));
}

// --- drawing ---
// The levels of a life as [from, to, severity]: what is too short to be seen takes `least`, and of several such within
// that the worst stays.
function levels(life, least) {
    const drawn = [];
    life.records.forEach(({place, severity}, at) => {
        const next = life.records[at + 1], before = drawn.at(-1);
        if (!next && !life.active) {
            return;
        }
        const to = next ? next.place : life.to;
        const free = before ? Math.max(place, before[0] + least) : place;
        if (before && place < free && to <= free) {
            before[2] = Math.max(before[2], severity);
        } else if (before && before[2] === severity && before[1] >= place) {
            before[1] = Math.max(before[1], to);
        } else {
            if (before) {
                before[1] = Math.min(before[1], free);
            }
            drawn.push([free, Math.max(to, free + least), severity]);
        }
    });
    return drawn;
}

// Where a record repeated the fault and changed nothing else.
function ticks(life, view) {
    const drawn = [];
    life.records.forEach(({place, severity, change}, at) => {
        const apart = drawn.length === 0 || place >= drawn.at(-1) + 3 * view.grain;
        if (change === 'repeated' && severity === life.records[at - 1].severity && apart && place >= view.from && place <= view.to) {
            drawn.push(place);
        }
    });
    return drawn;
}

function drawBar(life, number, view) {
    const bar = element('g', {class: 'bar', role: 'img', 'data-n': 1, 'data-life': number}, element('title', {}, life.title));
    const top = life.track * trackPitch;
    for (const [from, to, severity] of levels(life, view.grain * 2.5)) {
        const left = Math.max(from, view.from - view.grain * 9), right = Math.min(to, view.to + view.grain * 9);
        const height = 1 + 3 * severity;
        if (left < right) {
            bar.append(element('rect', {class: severities[severity], x: view.percent(left), y: top + trackHeight - height,
                                      width: view.share(right - left), height}));
        }
    }
    for (const place of ticks(life, view)) {
        bar.append(element('rect', {class: 'tick', x: view.percent(place), y: top, width: 1.5, height: trackHeight}));
    }
    return bar;
}

// Lives that begin and end where another has just been drawn are shown by that one.
function drawLane(lane, server, view) {
    const bars = [], drawn = [];
    lives(lane, server).forEach((life, number) => {
        const last = drawn[life.track];
        if (life.to < view.from || life.from > view.to) {
            return;
        }
        if (last && life.to <= last.reach) {
            ++last.bar.dataset.n;
        } else {
            bars.push(drawBar(life, number, view));
            drawn[life.track] = {bar: bars.at(-1), reach: life.from + view.grain};
        }
    });
    return bars;
}

function drawMarks(server, view) {
    const apart = [];
    for (const [place, number] of server.serious.filter(([place]) => place >= view.from && place <= view.to)) {
        if (apart.length > 0 && place < apart.at(-1).place + view.grain * 8) {
            ++apart.at(-1).n;
        } else {
            apart.push({place, number, n: 1});
        }
    }
    return apart.map(({place, number, n}) => {
        const {source, event} = server.refused[number], others = n === 1 ? '' : ` and ${n - 1} more`;
        return element('text', {class: 'mark', role: 'img', x: view.percent(place), y: 14, 'data-n': n, 'data-refused': number},
                     element('title', {}, `${source}: ${event}${others}`), '▲');
    });
}

function axisMarks(server, view) {
    const step = data.steps.find(one => one * perSecond >= view.grain * 95) ?? data.steps.at(-1);
    const marks = [];
    let before = '';
    for (const [place, first, last] of server.eras) {
        const seen = Math.max(first, first + (view.from - place) / perSecond);
        for (let time = Math.ceil(seen / step) * step; time <= last; time += step) {
            const at = place + (time - first) * perSecond;
            if (at > view.to) {
                break;
            }
            if (marks.length > 0 && at < marks.at(-1).at + 80 * view.grain) {
                continue;
            }
            const text = timeText(time), date = text.slice(0, 10), clock = text.slice(11, step < 60 ? 19 : 16);
            const short = step >= 86400 ? date : date === before ? clock : `${date.slice(5)} ${clock}`;
            marks.push({at, text: time < firstDate ? text : short});
            before = date;
        }
    }
    return marks;
}

// --- the records behind a lane, a bar or a mark ---
function recordRow(record) {
    const cell = (text, kind) => element('td', {class: kind}, text);
    return element('tr', {}, cell(timeText(record.time), 'time'), cell(record.id?.toString(16) ?? '–', 'number'), cell(record.change, ''),
                   cell(severities[record.severity] ?? '–', ''), cell(record.event, 'words'));
}

// Groups of records, each with a heading. The first few hundred rows are there at once, the others when asked for.
function recordPanel(name, groups) {
    const panel = document.getElementById('records').content.firstElementChild.cloneNode(true), table = panel.querySelector('table');
    panel.ariaLabel = table.caption.textContent = name;
    const rows = groups.flatMap(([heading, list]) => [heading, ...list]);
    const more = button('', () => add(rowsAtOnce * 8));
    const add = number => {
        for (const row of rows.splice(0, number)) {
            if (typeof row === 'string') {
                table.append(element('tbody', {}, element('tr', {}, element('th', {colspan: 5, scope: 'rowgroup'}, row))));
            } else {
                table.lastChild.append(recordRow(row));
            }
        }
        more.textContent = `Show more (${rows.length.toLocaleString('en')} left)`;
        rows.length > 0 ? panel.append(more) : more.remove();
    };
    add(rowsAtOnce);
    return panel;
}

// Shows a panel in the holder, or takes it away if it is the one that is there. Returns whether it is shown.
function togglePanel(holder, key, name, groups) {
    const open = holder.querySelector('.records');
    open?.remove();
    if (open?.dataset.key === String(key)) {
        return false;
    }
    holder.append(recordPanel(name, groups));
    holder.lastChild.dataset.key = key;
    return true;
}

function toggleRefused(holder, number, server) {
    const {source, event, numbers} = server.refused[number];
    const all = records(numbers, server).map(record => ({...record, change: 'refused', severity: undefined}));
    togglePanel(holder, number, `${source}: ${event}`, [['Not taken as a fault', all]]);
}

// --- a timeline ---
class Timeline {
    constructor(root, server) {
        Object.assign(this, {root, server, from: 0, to: server.end, stale: new Set()});
        this.grid = root.querySelector('.grid');
        this.lanes = [...root.querySelectorAll('.lane')];
        for (const lane of this.lanes) {
            const name = lane.querySelector('.name');
            if (lane.dataset.lane !== undefined) {
                name.append(button([...name.childNodes], () => this.open(lane, null), {'aria-expanded': false}));
            }
        }
        root.classList.add('live');
        root.tabIndex = 0;
        this.useTools(root.previousElementSibling);
        root.addEventListener('wheel', event => this.wheel(event), {passive: false});
        root.addEventListener('pointerdown', event => this.grab(event));
        addEventListener('resize', () => this.draw());
        addEventListener('scroll', () => this.drawLanes(), {passive: true});
        addEventListener('beforeprint', () => this.drawLanes(Infinity));
        this.drawNow();
    }

    useTools(tools) {
        const end = this.server.end, only = tools.querySelector('input');
        const acts = {out: () => this.zoom(2), in: () => this.zoom(.5), earlier: () => this.pan(-.25), later: () => this.pan(.25),
                      all: () => this.show(0, end), day: () => this.show(end - 86400 * perSecond, end)};
        const keys = {'-': 'out', '+': 'in', '=': 'in', ArrowLeft: 'earlier', ArrowRight: 'later', 0: 'all', 1: 'day'};
        tools.hidden = false;
        tools.addEventListener('click', event => acts[event.target.dataset.act]?.());
        only.addEventListener('change', () => this.root.classList.toggle('active-only', only.checked));
        this.root.addEventListener('keydown', event => {
            if (keys[event.key] && !event.ctrlKey && !event.altKey && !event.metaKey) {
                acts[keys[event.key]]();
                event.preventDefault();
            }
        });
    }

    wheel(event) {
        if (!event.ctrlKey) {
            return;
        }
        const box = this.grid.getBoundingClientRect(), at = (event.clientX - box.left) / box.width;
        this.zoom(Math.exp(event.deltaY / 300), Math.min(1, Math.max(0, at)));
        event.preventDefault();
    }

    // Dragging moves the view; letting go where it began opens what is there.
    grab(event) {
        if (event.button !== 0 || !event.target.closest('.bars')) {
            return;
        }
        const {from, to} = this, {grain} = this.view(), stop = new AbortController(), {signal} = stop;
        let moved = false;
        addEventListener('pointermove', other => {
            const by = event.clientX - other.clientX;
            moved ||= Math.abs(by) > 4;
            if (moved) {
                this.show(from + by * grain, to + by * grain);
            }
        }, {signal});
        addEventListener('pointercancel', () => stop.abort(), {signal});
        addEventListener('pointerup', () => {
            stop.abort();
            if (!moved) {
                this.openAt(event.target);
            }
        }, {signal});
    }

    openAt(target) {
        const lane = target.closest('.lane'), bar = target.closest('.bar'), mark = target.closest('.mark');
        if (bar) {
            this.open(lane, Number(bar.dataset.life));
        } else if (mark) {
            toggleRefused(lane, mark.dataset.refused, this.server);
        }
    }

    open(lane, number) {
        const data = this.server.lanes[lane.dataset.lane], all = lives(data, this.server);
        const shown = (number === null ? all : [all[number]]).map(life => [life.title, life.records]);
        const opened = togglePanel(lane, number, `${data.part}, ${data.sensor}`, shown);
        lane.querySelector('.name button').setAttribute('aria-expanded', opened);
    }

    view() {
        const {from, to} = this, share = places => `${(100 * places / (to - from)).toFixed(3)}%`;
        const width = Math.max(50, this.grid.getBoundingClientRect().width);
        return {from, to, grain: (to - from) / width, share, percent: place => share(place - from)};
    }

    show(from, to) {
        const width = Math.min(this.server.end, Math.max(perSecond, to - from));
        this.from = Math.min(Math.max(0, from), this.server.end - width);
        this.to = this.from + width;
        this.draw();
    }

    zoom(factor, at = .5) {
        const fixed = this.from + (this.to - this.from) * at, width = Math.max(perSecond, (this.to - this.from) * factor);
        this.show(fixed - width * at, fixed + width * (1 - at));
    }

    pan(share) {
        const by = (this.to - this.from) * share;
        this.show(this.from + by, this.to + by);
    }

    draw() {
        this.pending ??= requestAnimationFrame(() => this.drawNow());
    }

    drawNow() {
        this.pending = undefined;
        this.stale = new Set(this.lanes);
        this.drawGrid(this.view());
        this.drawLanes();
    }

    // Lanes that are further out of sight than that are drawn when they come nearer.
    drawLanes(margin = 200) {
        const seen = [...this.stale].filter(lane => {
            const {top, bottom} = lane.getBoundingClientRect();
            return bottom > -margin && top < innerHeight + margin;
        });
        const {server} = this, view = this.view();
        for (const lane of seen) {
            const picture = lane.querySelector('.bars'), number = lane.dataset.lane;
            const shapes = number === undefined ? drawMarks(server, view) : drawLane(server.lanes[number], server, view);
            picture.removeAttribute('viewBox'); // of the picture in the file
            picture.replaceChildren(picture.firstElementChild, ...shapes);
            this.stale.delete(lane);
        }
    }

    drawGrid(view) {
        const marks = axisMarks(this.server, view), {eras} = this.server;
        this.root.querySelector('.axis').replaceChildren(...marks.map(({at, text}) =>
            element('text', {x: view.percent(at), y: 15, class: at > view.to - .15 * (view.to - view.from) ? 'late' : ''},
                    at > view.to - 75 * view.grain ? '' : text)));
        const gaps = eras.slice(1).map(([place], at) => {
            const from = eras[at][0] + (eras[at][2] - eras[at][1] + 1) * perSecond;
            return element('rect', {class: 'gap', x: view.percent(from), width: view.share(place - from), height: '100%'});
        });
        this.grid.replaceChildren(...gaps, ...marks.map(({at}) =>
            element('line', {x1: view.percent(at), x2: view.percent(at), y1: 0, y2: '100%'})));
    }
}

// --- tables ---
function makeSortable(table) {
    const heads = [...table.tHead.rows[0].cells], body = table.tBodies[0];
    const key = cell => cell.classList.contains('number') ? Number(cell.textContent) : cell.dataset.sort ?? cell.textContent;
    const sort = column => {
        const head = heads[column], falling = head.ariaSort === 'ascending';
        const rows = [...body.rows].map(row => [key(row.cells[column]), row]);
        rows.sort(([one], [other]) => (one < other ? -1 : one > other ? 1 : 0) * (falling ? -1 : 1));
        heads.forEach(other => other.removeAttribute('aria-sort'));
        head.ariaSort = falling ? 'descending' : 'ascending';
        body.append(...rows.map(([, row]) => row));
    };
    heads.forEach((head, column) => head.append(button([...head.childNodes], () => sort(column))));
}

function makeFiltered(table) {
    const rows = [...table.tBodies[0].rows], partOf = row => row.cells[1].textContent;
    const tools = table.parentElement.previousElementSibling, [severity, part, text, shown] = tools.children;
    part.append(...[...new Set(rows.map(partOf))].sort().map(one => element('option', {value: one}, one)));
    const matches = row => row.dataset.severity >= severity.value && (part.value === '' || part.value === partOf(row)) &&
        text.value.toLowerCase().split(/\s+/).every(word => row.textContent.toLowerCase().includes(word));
    const filter = () => {
        rows.forEach(row => row.hidden = !matches(row));
        shown.textContent = `${rows.filter(row => !row.hidden).length} of ${rows.length}`;
    };
    tools.hidden = false;
    tools.addEventListener('input', filter);
    filter();
}

function makeOpening(table, server) {
    for (const row of table.tBodies[0].rows) {
        const head = row.querySelector('th');
        head.append(button([...head.childNodes], () => toggleRefused(row.cells[2], row.dataset.refused, server)));
    }
}

document.querySelectorAll('table.sortable').forEach(makeSortable);
document.querySelectorAll('table.filtered').forEach(makeFiltered);
document.querySelectorAll('section.server').forEach(section => {
    const server = data.servers[section.dataset.server];
    section.querySelectorAll('.timeline').forEach(root => new Timeline(root, server));
    section.querySelectorAll('table.refused').forEach(table => makeOpening(table, server));
});
