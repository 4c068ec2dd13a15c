type Attributes = Record<string, string | number | boolean | null | undefined>;
type Child = Node | string | null | undefined;

/** Creates an element: `el('td', { class: 'number' }, '1.25')`. False and null attributes are left out. */
export function el<K extends keyof HTMLElementTagNameMap>(
    tag: K,
    attributes: Attributes = {},
    ...children: Child[]
): HTMLElementTagNameMap[K] {
    const element = document.createElement(tag);
    for (const [name, value] of Object.entries(attributes)) {
        if (value !== null && value !== undefined && value !== false) {
            element.setAttribute(name, value === true ? '' : String(value));
        }
    }
    element.append(...children.filter((c): c is Node | string => c !== null && c !== undefined));
    return element;
}

export function byId<T extends HTMLElement = HTMLElement>(id: string): T {
    const element = document.getElementById(id);
    if (!element) {
        throw new Error(`no element #${id}`);
    }
    return element as T;
}

/** A mark in the colour of a structure. */
export function swatch(colour: string): HTMLElement {
    const mark = el('span', { class: 'swatch', 'aria-hidden': 'true' });
    mark.style.background = colour;
    return mark;
}

/** A colour (or any other token) of the theme in force. */
export function token(name: string): string {
    return getComputedStyle(document.documentElement).getPropertyValue(name).trim();
}
