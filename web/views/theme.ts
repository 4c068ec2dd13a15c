import { byId } from './dom';
import type { Store } from './store';

type Theme = 'light' | 'dark';

const system = window.matchMedia('(prefers-color-scheme: dark)');
let chosen: Theme | null = null;

function inForce(): Theme {
    return chosen ?? (system.matches ? 'dark' : 'light');
}

/** Sets the theme without making it the reader's choice; used for paper. */
export function applyTheme(theme: Theme = inForce()): void {
    document.documentElement.dataset.theme = theme;
}

/** Follows the system until the reader chooses. */
export function setUpTheme(store: Store): void {
    const button = byId<HTMLButtonElement>('theme-toggle');
    const apply = (): void => {
        applyTheme();
        const other = inForce() === 'dark' ? 'Light' : 'Dark';
        button.textContent = `${other} theme`;
        store.redraw();
    };
    button.addEventListener('click', () => {
        chosen = inForce() === 'dark' ? 'light' : 'dark';
        apply();
    });
    system.addEventListener('change', apply);
    apply();
}
