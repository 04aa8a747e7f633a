// The search of the manual: sections are ranked by how rare the words of the question are, how often they stand in a
// section, in its title and in the title of its page, and whether they stand side by side. A word that isn't there
// costs rank, but hides nothing. Words are cut to their stems by Sphinx's stemmer.

const COMMON_WORDS = `a about all am an and any are as at be been but by can could did do does doing for from get gets
    had has have how i if in into is it its many may me might much my of on or our please shall should so some that the
    their them then there these they this those to up use used uses using was we were what when where which who whom
    whose why will with without would you your`.split(/\s+/);
const WEIGHTS = { text: 1, title: 6, page: 4, key: 6 };
const SHOWN = 40;

const stems = new Map();

function stemOf(word) {
    let stem = stems.get(word);
    if (stem === undefined) {
        stem = /^[a-z]{3,}$/.test(word) ? new Stemmer().stemWord(word) : word;
        stems.set(word, stem);
    }
    return stem;
}

const COMMON = new Set(COMMON_WORDS.flatMap((word) => [word, stemOf(word)]));

/// Words of a text in their order; names of code also by their parts.
function wordsOf(text) {
    const words = [];
    for (const [whole] of text.replaceAll("’", "'").matchAll(/[\p{L}\p{N}_]+(?:'s\b)?/gu)) {
        const word = whole.replace(/'s$/, "");
        words.push(stemOf(word.toLowerCase()));
        const parts = word.replace(/([a-z])([A-Z])/g, "$1_$2").toLowerCase().split("_").filter(Boolean);
        if (parts.length > 1) {
            words.push(...parts.map(stemOf));
        }
    }
    return words;
}

/// The sections with the places of each stem: Map of stem -> Map of section -> weight.
function makeIndex({ pages, sections }) {
    const index = new Map();
    const add = (section, words, weight) => {
        for (const word of words) {
            let places = index.get(word);
            if (!places) {
                index.set(word, (places = new Map()));
            }
            places.set(section, (places.get(section) ?? 0) + weight);
        }
    };
    const pageWords = pages.map(([, title]) => wordsOf(title));
    const lengths = sections.map(([page, , title, text, key], section) => {
        const words = wordsOf(text);
        add(section, words, WEIGHTS.text);
        add(section, wordsOf(title), WEIGHTS.title);
        add(section, new Set(pageWords[page]), WEIGHTS.page);
        add(section, new Set(wordsOf(key)), WEIGHTS.key);
        return words.length + 30;
    });
    const mean = lengths.reduce((sum, length) => sum + length, 0) / lengths.length;
    return { index, lengths, mean };
}

/// Stems of a question, each with those that mean much the same: [{stem, others}].
function readQuestion(question, { same }, { index }) {
    let words = wordsOf(question).flatMap((word) => (index.has(word) ? [word] : divide(word, index)));
    const asked = words.filter((word) => !COMMON.has(word));
    words = asked.length ? asked : words;
    return [...new Set(words)].map((stem) => {
        const others = new Set();
        for (const group of same) {
            const groupStems = group.map(stemOf);
            if (groupStems.includes(stem)) {
                groupStems.forEach((other) => others.add(other));
            }
        }
        others.delete(stem);
        return { stem, others: [...others] };
    });
}

/// A word that isn't known as two that are, as in "hotstart"; or as it is.
function divide(word, index) {
    for (let at = 3; at <= word.length - 3; at += 1) {
        const parts = [stemOf(word.slice(0, at)), stemOf(word.slice(at))];
        if (parts.every((part) => index.has(part))) {
            return parts;
        }
    }
    return [word];
}

/// Stems of the index that begin with the last letters that were typed, for a word that isn't known.
function completions(index, stem) {
    return stem.length < 3 ? [] : [...index.keys()].filter((word) => word.startsWith(stem)).slice(0, 20);
}

/// The sections that answer a question, the best first: [{section, score}].
function search(question, data, known) {
    const { index, lengths, mean } = known;
    const terms = readQuestion(question, data, known);
    const plain = question.toLowerCase().replace(/[^\p{L}\p{N}]+/gu, " ").trim();
    const count = data.sections.length;
    const scores = new Float64Array(count);
    const covered = new Float64Array(count);
    const rarities = new Map(); // of the words of the question
    let whole = 0;
    for (const { stem, others } of terms) {
        const found = new Map(); // section -> weighted count of the word or of what stands for it
        const take = (word, factor) => index.get(word)?.forEach((weight, section) => {
            found.set(section, Math.max(found.get(section) ?? 0, weight * factor));
        });
        take(stem, 1);
        others.forEach((other) => take(other, 0.5));
        if (!index.has(stem)) {
            completions(index, stem).forEach((word) => take(word, 0.6));
        }
        const holders = index.get(stem)?.size ?? found.size;
        const rarity = Math.log(1 + (count - holders + 0.5) / (holders + 0.5));
        whole += rarity;
        rarities.set(stem, rarity);
        found.forEach((weight, section) => {
            scores[section] += (rarity * weight * 2.2) / (weight + 1.2 * (0.4 + (0.6 * lengths[section]) / mean));
            covered[section] += rarity * Math.min(1, 0.5 + weight / 2);
        });
    }
    const results = [];
    for (let section = 0; section < count; section += 1) {
        if (scores[section] > 0) {
            const share = Math.min(1, covered[section] / whole);
            const [page] = data.sections[section];
            const head = headShare(data, section, rarities, whole) + (isKnown(data, section, plain) ? 1 : 0);
            results.push({ section, score: scores[section] * share * share * data.pages[page][2] * (1 + 1.2 * head) });
        }
    }
    results.sort((one, other) => other.score - one.score || one.section - other.section);
    return sideBySide(results, data, terms);
}

/// How well a question and one of the heads of a section are the same, 0 to 1: its title, that of its page, or one of
/// the questions that it is known to answer.
function headShare(data, section, rarities, whole) {
    const [page, , title, , key] = data.sections[section];
    let best = 0;
    for (const head of [title, data.pages[page][1], ...key.split(", ")]) {
        const words = new Set(wordsOf(head).filter((word) => !COMMON.has(word)));
        const known = [...words].filter((word) => rarities.has(word));
        const asked = known.reduce((sum, word) => sum + rarities.get(word), 0) / whole;
        best = Math.max(best, words.size ? asked * asked * (0.5 + (0.5 * known.length) / words.size) : 0);
    }
    return best;
}

/// Whether a section is known to answer this very question.
function isKnown(data, section, plain) {
    return plain !== "" && data.sections[section][4].toLowerCase().split(", ")
        .some((words) => words.replace(/[^\p{L}\p{N}]+/gu, " ").trim() === plain);
}

/// Lifts those of the first results in whose text words of the question stand side by side.
function sideBySide(results, data, terms) {
    const pairs = terms.slice(1).map((term, at) => `${terms[at].stem} ${term.stem}`);
    if (pairs.length) {
        for (const result of results.slice(0, 60)) {
            const text = ` ${wordsOf(data.sections[result.section][3]).filter((word) => !COMMON.has(word)).join(" ")} `;
            const found = pairs.filter((pair) => text.includes(` ${pair} `)).length;
            result.score *= 1 + (0.4 * found) / pairs.length;
        }
        results.sort((one, other) => other.score - one.score || one.section - other.section);
    }
    return results;
}

/// A piece of the text about the first words of the question, which are marked.
function excerpt(text, terms) {
    const wanted = new Set(terms.flatMap(({ stem, others }) => [stem, ...others]));
    const places = [];
    for (const match of text.matchAll(/[\p{L}\p{N}_]+/gu)) {
        if (wanted.has(stemOf(match[0].toLowerCase()))) {
            places.push([match.index, match.index + match[0].length]);
        }
    }
    let best = 0;
    let most = 0;
    places.forEach(([begin], at) => {
        const inside = places.slice(at).filter(([, end]) => end < begin + 200).length;
        if (inside > most) {
            most = inside;
            best = Math.max(0, begin - 60);
        }
    });
    const start = best ? text.indexOf(" ", best) + 1 : 0;
    const end = text.length > start + 260 ? text.lastIndexOf(" ", start + 260) : text.length;
    const piece = document.createElement("p");
    let at = start;
    piece.append(start ? "… " : "");
    for (const [begin, stop] of places.filter(([begin, stop]) => begin >= start && stop <= end)) {
        const mark = document.createElement("mark");
        mark.textContent = text.slice(begin, stop);
        piece.append(text.slice(at, begin), mark);
        at = stop;
    }
    piece.append(text.slice(at, end), end < text.length ? " …" : "");
    return piece;
}

function show(question, data, index) {
    const list = document.getElementById("search-results");
    const status = document.getElementById("search-count");
    list.replaceChildren();
    if (!question.trim()) {
        status.textContent = "";
        return;
    }
    const results = search(question, data, index);
    const terms = readQuestion(question, data, index);
    status.textContent = results.length === 0 ? "Nothing found. Try other words." :
        `${results.length} sections${results.length > SHOWN ? `, the first ${SHOWN} of them` : ""}`;
    for (const { section } of results.slice(0, SHOWN)) {
        const [page, place, title, text] = data.sections[section];
        const [name, pageTitle] = data.pages[page];
        const item = document.createElement("li");
        const link = document.createElement("a");
        link.href = `${name}.html${place ? `#${place}` : ""}`;
        link.textContent = title && title !== pageTitle ? `${pageTitle}: ${title}` : pageTitle;
        item.append(link, excerpt(text, terms));
        list.append(item);
    }
}

const field = document.getElementById("search-field");
const index = makeIndex(searchData);
field.value = new URLSearchParams(location.search).get("q") ?? "";
field.addEventListener("input", () => show(field.value, searchData, index));
show(field.value, searchData, index);
document.documentElement.dataset.ready = "search";
