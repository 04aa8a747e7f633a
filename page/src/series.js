// Series of objects: times, values, extremes, and several series on one list of times. Pure functions on arrays; what
// is read from the document stands in data.js.

/// Times of the reports of a run, in seconds.
export function reportTimes(times) {
    return Float64Array.from({ length: times.count }, (_, report) => times.start + report * times.step);
}

/// Middles of the buckets of reports that a thinned series has its extremes of.
export function bucketTimes(times, buckets) {
    return Float64Array.from({ length: buckets }, (_, bucket) => {
        const first = Math.floor((bucket * times.count) / buckets);
        const last = Math.max(first, Math.floor(((bucket + 1) * times.count) / buckets) - 1);
        return times.start + ((first + last) / 2) * times.step;
    });
}

const orNull = (value) => (Number.isNaN(value) ? null : value);

/// Values of a column as {x, high, low}: both are the same list unless the series is thinned.
export function makeSeries(values, isThinned, times) {
    if (!isThinned) {
        const all = Array.from(values, orNull);
        const x = reportTimes({ ...times, count: all.length });
        return { x, high: all, low: all, isThinned: false };
    }
    const buckets = values.length >> 1;
    const low = Array.from({ length: buckets }, (_, bucket) => orNull(values[2 * bucket]));
    const high = Array.from({ length: buckets }, (_, bucket) => orNull(values[2 * bucket + 1]));
    return { x: bucketTimes(times, buckets), high, low, isThinned: true };
}

/// Least and greatest value between two times, with the time of the greatest; null where there is none.
export function findExtremes(series, from = -Infinity, to = Infinity) {
    let least = null;
    let greatest = null;
    let at = null;
    for (let place = 0; place < series.x.length; place += 1) {
        const time = series.x[place];
        if (time < from || time > to) {
            continue;
        }
        const low = series.low[place];
        const high = series.high[place];
        if (low !== null && (least === null || low < least)) {
            least = low;
        }
        if (high !== null && (greatest === null || high > greatest)) {
            greatest = high;
            at = time;
        }
    }
    return { least, greatest, at };
}

function areSame(one, other) {
    return one.length === other.length && one.every((value, place) => value === other[place]);
}

/// All times of some lists, in order, each once. Each list is in order itself.
export function mergeTimes(lists) {
    if (lists.length === 0) {
        return new Float64Array(0);
    }
    if (lists.every((list) => list === lists[0] || areSame(list, lists[0]))) {
        return lists[0];
    }
    return Float64Array.from(new Set(lists.flatMap((list) => Array.from(list)))).sort();
}

/// Values of a series at the times of another list that holds all of its own: undefined where it has none of its own,
/// which is drawn through, contrary to null, which is a gap.
export function spread(x, values, onto) {
    if (onto === x) {
        return values;
    }
    const out = new Array(onto.length).fill(undefined);
    let place = 0;
    for (let target = 0; target < onto.length && place < x.length; target += 1) {
        if (onto[target] === x[place]) {
            out[target] = values[place];
            place += 1;
        }
    }
    return out;
}

/// The place of the time in a list that is nearest to a time.
export function findNearest(x, time) {
    let low = 0;
    let high = x.length - 1;
    while (high - low > 1) {
        const middle = (low + high) >> 1;
        if (x[middle] <= time) {
            low = middle;
        } else {
            high = middle;
        }
    }
    return x.length > 1 && Math.abs(x[high] - time) < Math.abs(x[low] - time) ? high : low;
}
