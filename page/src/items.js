// All objects of a run in one list: what has series, and what stands in the network. Map, tables, search and charts
// speak of an object by its place in this list.

const CLASSES = { nodes: "Node", links: "Link", areas: "Subcatchment" };

function wordOf(kind) {
    return kind ? kind.charAt(0).toUpperCase() + kind.slice(1) : "";
}

function keyOf(table, id) {
    return `${table.toLowerCase()}\n${id}`;
}

/// Items are {id, kind, class, place, object}: place in the class's list of the network, object among those with
/// series; -1 and null where it has none.
export function listItems(run) {
    const items = (run.objects ?? []).map((object, place) => ({
        id: object.id,
        kind: object.table,
        class: null,
        place: -1,
        object: place,
    }));
    const byPlace = { nodes: [], links: [], areas: [] };
    for (const name of Object.keys(CLASSES)) {
        (run.network?.[name] ?? []).forEach((element, place) => {
            let index = element.series ?? -1;
            if (index < 0 || !items[index] || items[index].class !== null) {
                index = items.length;
                items.push({ id: element.id, object: -1 });
            }
            const kind = element.kind ? wordOf(element.kind) : CLASSES[name];
            Object.assign(items[index], { class: name, place, kind: items[index].kind ?? kind });
            byPlace[name].push(index);
        });
    }
    return indexItems(items, byPlace, run.system ?? -1);
}

function indexItems(items, byPlace, system) {
    const byClass = new Map();
    const byName = new Map();
    const byTable = new Map();
    items.forEach((item, index) => {
        byTable.set(keyOf(item.kind, item.id), index);
        if (item.class) {
            byClass.set(keyOf(item.class, item.id), index);
        }
        if (!byName.has(item.id)) {
            byName.set(item.id, index);
        }
    });
    return {
        items,
        system,
        at: (name, place) => byPlace[name][place],
        /// By ID, and by class where two of different classes bear it; -1 if there is none.
        find(id, name = null) {
            const found = name ? byClass.get(keyOf(name, id)) : byName.get(id);
            return found ?? -1;
        },
        findInTable: (table, id) => byTable.get(keyOf(table, id)) ?? -1,
        /// By the words of a message: "Tank T1", or the ID alone.
        findByWords(words) {
            const space = words.indexOf(" ");
            const kind = words.slice(0, space);
            const rest = words.slice(space + 1);
            const asKind = space > 0 ? byTable.get(keyOf(kind, rest)) : undefined;
            const asClass = { node: "nodes", link: "links", subcatchment: "areas" }[kind.toLowerCase()];
            const found =
                asKind ??
                (asClass ? byClass.get(keyOf(asClass, rest)) : undefined) ??
                byName.get(words) ??
                (space > 0 ? byName.get(rest) : undefined);
            return found ?? -1;
        },
    };
}

/// The items whose ID holds the words, or whose kind and ID begin with them: equal ones first, then IDs that begin so,
/// each in the order of the list.
export function searchItems(items, words, most) {
    const wanted = words.trim().toLowerCase();
    const ranks = [[], [], []];
    for (let index = 0; index < items.length && wanted !== ""; index += 1) {
        const id = items[index].id.toLowerCase();
        if (id === wanted) {
            ranks[0].push(index);
        } else if (id.startsWith(wanted)) {
            if (ranks[1].length < most) {
                ranks[1].push(index);
            }
        } else if (
            ranks[2].length < most &&
            (id.includes(wanted) || `${items[index].kind} ${id}`.toLowerCase().startsWith(wanted))
        ) {
            ranks[2].push(index);
        }
    }
    return ranks.flat().slice(0, most);
}
