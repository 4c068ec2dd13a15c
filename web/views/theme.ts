import { byId } from './dom';

/** What draws its charts again in the colours of another theme. */
interface Redrawn {
    readonly ended?: AbortSignal;
    redraw(): void;
}

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
export function setUpTheme(page: Redrawn): void {
    const button = byId<HTMLButtonElement>('theme-toggle');
    const apply = (): void => {
        applyTheme();
        const other = inForce() === 'dark' ? 'Light' : 'Dark';
        button.textContent = `${other} theme`;
        page.redraw();
    };
    button.addEventListener('click', () => {
        chosen = inForce() === 'dark' ? 'light' : 'dark';
        apply();
    });
    system.addEventListener('change', apply, { signal: page.ended });
    apply();
}
