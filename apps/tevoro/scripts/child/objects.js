// What scripts see beside the language: app, its documents, Thumbnail. The function takes what
// reaches the browser and gives the objects and two functions for what a script comes to; nothing
// else in a script can reach the browser. `host` itself does not get out of here.
(function (host) {
    'use strict';
    const call = host.call;
    const documentCount = host.documentCount;
    const stringify = JSON.stringify;
    const toText = String;
    const paths = new WeakMap();

    function requireText(value, what) {
        if (typeof value !== 'string')
            throw new TypeError(what + ' takes a text, not ' + (value === null ? 'null' : typeof value));
    }

    function requireFolder(value, what) {
        requireText(value, what);
        if (value === '')
            throw new RangeError(what + ': the folder is empty');
        if (value[0] !== '/')
            throw new RangeError(what + ': the folder is not absolute: ' + value);
    }

    class Thumbnail {
        constructor(path) {
            requireFolder(path, 'Thumbnail');
            paths.set(this, path);
            // Its own and enumerable, so that JSON shows it.
            Object.defineProperty(this, 'path', {
                enumerable: true,
                get: function () { return path; },
                set: function () { throw new TypeError('the path of a Thumbnail cannot be changed'); }
            });
        }
    }

    const shown = Object.freeze({
        get thumbnail() {
            const folder = call('shownFolder');
            return folder === '' ? null : new Thumbnail(folder);
        },
        set thumbnail(value) {
            if (!paths.has(value))
                throw new TypeError('document.thumbnail takes a Thumbnail');
            call('showFolder', paths.get(value));
        },
        get status() { return call('status'); },
        set status(text) {
            requireText(text, 'document.status');
            call('setStatus', text);
        },
        bringToFront: function () { call('bringToFront'); }
    });

    const app = Object.freeze({
        get documents() { return new Array(documentCount()).fill(shown); },
        get document() { return documentCount() === 0 ? null : shown; },
        browseTo: function (folder) {
            requireFolder(folder, 'app.browseTo');
            call('browseTo', folder);
        },
        beep: function () { call('beep'); },
        runMediafetcher: function () { call('runMediafetcher'); }
    });

    function resultText(value) {
        if (value === undefined)
            return '';
        if (typeof value === 'object' && value !== null && !(value instanceof Error)) {
            try {
                const json = stringify(value);
                if (json !== undefined)
                    return json;
            } catch (error) {
                // A circle, say: it has a string all the same.
            }
        }
        return toText(value);
    }

    function errorText(value) {
        try {
            return toText(value);
        } catch (error) {
            return 'an exception without a text';
        }
    }

    // What a script came to may have functions of its own that throw.
    function outcome(value) {
        try {
            return { result: resultText(value) };
        } catch (error) {
            return { error: errorText(error) };
        }
    }

    return { app: app, Thumbnail: Thumbnail, outcome: outcome, errorText: errorText };
})
