// Puts the page together: hears what happens, asks what has changed by it, and has it drawn.

import { ask, listen } from "/zavsim/page/api.js";
import { byId, bytes } from "/zavsim/page/dom.js";
import { showDetails } from "/zavsim/page/details.js";
import { makeFaultForm, showFaults } from "/zavsim/page/faults.js";
import { Journal } from "/zavsim/page/journal.js";
import { showAddresses, showPools, showSessions } from "/zavsim/page/lists.js";
import { graphOf } from "/zavsim/page/objects.js";
import { Picture, verdict } from "/zavsim/page/picture.js";

const AFTER = 150; // milliseconds in which changes are gathered before they are asked for
const IDLE_EVERY = 5000; // milliseconds after which the sessions' idle times are asked for, which no event tells

const now = { objects: null, faults: [], listeners: [] };
const luns = new Map();
const picture = new Picture(byId("picture"), choose);
let graph = { nodes: [], edges: [] };

function choose(key) {
  picture.choose(key);
  showDetails(byId("object"), graph, key, choose);
}

function drawObjects() {
  if (now.objects === null) {
    return;
  }
  graph = graphOf(now.objects, luns);
  picture.show(graph, now.objects.lun.count);
  verdict(byId("verdict"), graph, now.listeners, now.faults, choose);
}

// What a LUN is never changes, so each is asked for once.
async function learnLuns() {
  const unknown = graph.nodes.filter((node) => node.kind === "lun" && !luns.has(node.id));
  await Promise.all(unknown.map(async ({ id }) => {
    const record = await ask("GET", `objects/lun/${id}`);
    if (record) {
      luns.set(id, { name: record.NAME, note: `${bytes(record.CAPACITY * record.SECTORSIZE)}, pool ${record.PARENTID}` });
    }
  }));
  if (unknown.length > 0) {
    drawObjects();
  }
}

const REFRESH = {
  async objects() {
    now.objects = (await ask("GET", "objects")) ?? now.objects;
    drawObjects();
    await learnLuns();
    await showDetails(byId("object"), graph, picture.chosen, choose);
  },
  async faults() {
    now.faults = (await ask("GET", "faults")) ?? now.faults;
    showFaults(now.faults);
    drawObjects();
  },
  async listeners() {
    now.listeners = (await ask("GET", "listeners")) ?? now.listeners;
    showAddresses(now.listeners);
    drawObjects();
  },
  async sessions() {
    const sessions = await ask("GET", "sessions");
    if (sessions) {
      showSessions(sessions);
    }
  },
};

const due = new Set();
let isRefreshing = false;

// One round at a time, however much happens.
function refresh(...names) {
  names.forEach((name) => due.add(name));
  if (isRefreshing) {
    return;
  }
  isRefreshing = true;
  setTimeout(async () => {
    const round = [...due];
    due.clear();
    await Promise.all(round.map((name) => REFRESH[name]()));
    isRefreshing = false;
    if (due.size > 0) {
      refresh();
    }
  }, AFTER);
}

async function begin() {
  const [inventory, codes, kinds] = await Promise.all([ask("GET", "inventory"), ask("GET", "codes"), ask("GET", "fault-kinds")]);
  if (!inventory || !codes || !kinds) {
    setTimeout(begin, 3000);
    return;
  }
  byId("system").textContent = `${inventory.system.PRODUCTMODE} ${inventory.system.ID}`;
  document.title = `zavsim ${inventory.system.ID}`;
  showPools(inventory.pools);
  makeFaultForm(kinds);
  const journal = new Journal(codes);
  let run;
  listen({
    connection(state, words) {
      byId("connection").dataset.state = state;
      byId("connection").textContent = words;
    },
    hello(told) {
      if (run !== undefined && run !== told.run) {
        location.reload(); // a simulator that was started anew counts its requests anew
        return;
      }
      run = told.run;
      journal.catchUp();
      refresh("objects", "faults", "listeners", "sessions");
    },
    resync() {
      byId("connection").textContent = "too much at once: reading anew";
    },
    request: (record) => journal.take(record),
    answer(record) {
      journal.take(record);
      if (record.method !== "GET") {
        refresh("objects", "sessions");
      }
      if (record.fault) {
        refresh("faults");
      }
    },
    steered() {
      journal.catchUp(); // it may have been cleared
      refresh("objects", "faults", "listeners", "sessions");
    },
    heartbeat: () => refresh("objects", "listeners"),
  });
  setInterval(() => {
    if (byId("connection").dataset.state === "live") {
      refresh("sessions");
    }
  }, IDLE_EVERY);
}

begin();
