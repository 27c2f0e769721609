// The objects of the array as a graph: what hangs on what, and what hangs on nothing.

export const STAGES = [
  { title: "Initiators", kinds: ["iscsi_initiator", "fc_initiator"] },
  { title: "Hosts", kinds: ["host"] },
  { title: "Host groups", kinds: ["hostgroup"] },
  { title: "Mapping views", kinds: ["mappingview"] },
  { title: "LUN groups", kinds: ["lungroup"] },
  { title: "LUNs", kinds: ["lun", "snapshot"] },
];

export const WORDS = {
  iscsi_initiator: "iSCSI initiator", fc_initiator: "FC initiator", host: "host", hostgroup: "host group",
  mappingview: "mapping view", lungroup: "LUN group", lun: "LUN", snapshot: "snapshot", more: "more",
};

const LUNS_OF_A_GROUP = 6;

const members = (object, ...kinds) => kinds.flatMap((kind) => object.members?.[kind] ?? []);
const containers = (object, kind) => object.memberOf?.[kind] ?? [];

// What is amiss with an object, in words; by kind.
const PROBLEMS = {
  iscsi_initiator: (o) => (containers(o, "host").length ? [] : ["on no host"]),
  fc_initiator: (o) => [...(containers(o, "host").length ? [] : ["on no host"]), ...(o.online ? [] : ["offline"])],
  host: (o) => [
    ...(members(o, "iscsi_initiator", "fc_initiator").length ? [] : ["has no initiator"]),
    ...(containers(o, "hostgroup").length ? [] : ["in no host group"]),
  ],
  hostgroup: (o) => [
    ...(members(o, "host").length ? [] : ["has no host"]),
    ...(containers(o, "mappingview").length ? [] : ["in no mapping view"]),
  ],
  mappingview: (o) => [
    ...(members(o, "hostgroup").length ? [] : ["has no host group"]),
    ...(members(o, "lungroup").length ? [] : ["has no LUN group"]),
  ],
  lungroup: (o) => (containers(o, "mappingview").length ? [] : ["in no mapping view"]),
  snapshot: () => [],
};

const NOTES = {
  iscsi_initiator: () => "iSCSI",
  fc_initiator: (o) => (o.online ? "FC, online" : "FC"),
  lungroup: (o) => (members(o, "lun", "snapshot").length ? `id ${o.id}` : `id ${o.id}, has no LUN yet`),
  snapshot: (o) => `snapshot of LUN ${o.lun}`,
};

const keyOf = (kind, id) => `${kind}/${id}`;

function nodeOf(kind, object) {
  const name = object.name || object.id;
  return {
    key: keyOf(kind, object.id), kind, id: object.id, name,
    problems: PROBLEMS[kind](object),
    note: NOTES[kind]?.(object) ?? `id ${object.id}`,
    online: object.online,
  };
}

// Edges lead from the initiators' side to the LUNs' side. `luns` holds name and note of those that are known, by id.
export function graphOf(dump, luns) {
  const nodes = new Map();
  const edges = [];
  const stageOf = new Map(STAGES.flatMap((stage, index) => stage.kinds.map((kind) => [kind, index])));
  const add = (stage, node) => {
    if (!nodes.has(node.key)) {
      nodes.set(node.key, { ...node, stage });
    }
  };
  for (const kind of ["iscsi_initiator", "fc_initiator", "host", "hostgroup", "mappingview", "lungroup"]) {
    dump[kind].forEach((object) => add(stageOf.get(kind), nodeOf(kind, object)));
  }
  const join = (kind, object, member) =>
    members(object, member).forEach((id) => edges.push([keyOf(member, id), keyOf(kind, object.id)]));
  dump.host.forEach((host) => ["iscsi_initiator", "fc_initiator"].forEach((kind) => join("host", host, kind)));
  dump.hostgroup.forEach((group) => join("hostgroup", group, "host"));
  for (const view of dump.mappingview) {
    join("mappingview", view, "hostgroup");
    members(view, "lungroup").forEach((id) => edges.push([keyOf("mappingview", view.id), keyOf("lungroup", id)]));
  }
  const snapshots = new Map(dump.snapshot.map((snapshot) => [snapshot.id, snapshot]));
  for (const group of dump.lungroup) {
    const held = [...members(group, "lun").map((id) => ["lun", id]),
      ...members(group, "snapshot").map((id) => ["snapshot", id])];
    const from = keyOf("lungroup", group.id);
    for (const [kind, id] of held.slice(0, LUNS_OF_A_GROUP)) {
      add(5, kind === "snapshot" ? nodeOf(kind, snapshots.get(id))
        : { key: keyOf(kind, id), kind, id, name: id, note: "", ...luns.get(id), problems: [] });
      edges.push([from, keyOf(kind, id)]);
    }
    if (held.length > LUNS_OF_A_GROUP) {
      const key = keyOf("more", group.id);
      add(5, { key, kind: "more", id: group.id, name: `and ${held.length - LUNS_OF_A_GROUP} more`, problems: [], note: "" });
      edges.push([from, key]);
    }
  }
  return { nodes: [...nodes.values()], edges };
}

// The keys of all that hangs together with one node: what it leads to, and what leads to it.
export function chainOf(graph, key) {
  const follow = (from, to) => {
    const found = new Set([key]);
    for (const reached of found) {
      graph.edges.filter((edge) => edge[from] === reached).forEach((edge) => found.add(edge[to]));
    }
    return found;
  };
  return new Set([...follow(0, 1), ...follow(1, 0)]);
}
